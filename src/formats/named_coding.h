#pragma once
// The codings that headerless files come in, by the names that sample data carry.

#include <optional>

#include "base/endian.h"
#include "formats/codec/block_codec.h"

namespace tervo {

struct NamedCoding {
  DecoderFactory make;
  std::function<int64_t(uint64_t bytes)> framesIn;
  ByteOrder order = ByteOrder::little;  ///< where the first code word of a byte stands: big, in its upper bits
  DecoderFactory otherOrder = {};       ///< null where the bytes have but one
  bool takesChannels = false;           ///< the same bytes may be one channel or two
};

/// Nothing where no headerless file has that coding with so many channels.
std::optional<NamedCoding> codingNamed(TextView name, int channels);

}  // namespace tervo
