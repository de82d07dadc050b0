#pragma once
// MACE, the Macintosh Audio Compression and Expansion of the 1980s: 3:1 and 6:1 against 8-bit samples. Apple published
// no description; constants and arithmetic are those of the decoders that were made after Apple's own (FFmpeg, which
// says that it agrees with it bit for bit). Samples have 8 significant bits.

#include "formats/codec/block_codec.h"

namespace tervo {

enum class MaceRatio : uint8_t {
  threeToOne,  ///< packets of 2 bytes a channel, each byte three samples
  sixToOne,    ///< packets of 1 byte a channel, six samples
};
inline constexpr std::size_t macePacketFrames = 6;

/// The packets of several channels alternate.
DecoderFactory maceDecoder(MaceRatio ratio, int channels);

}  // namespace tervo
