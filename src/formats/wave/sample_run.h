#pragma once
// Samples that stand one after another in a source, read and decoded through one buffer that stays in the cache.

#include <memory>
#include <vector>

#include "base/byte_source.h"
#include "formats/wave/sample_decoder.h"

namespace tervo {

class SampleRun {
 public:
  SampleRun(std::shared_ptr<const ByteSource> source, uint64_t offset, const SampleDecoder& decoder);

  /// Once, before the first read. False with "Reading from file failed".
  bool skipTo(uint64_t sample);
  /// The next out.size() samples; the caller knows that they are there. False with "Reading from file failed".
  bool read(std::span<float> out);

 private:
  std::shared_ptr<const ByteSource> source_;
  uint64_t offset_;
  SampleDecoder decoder_;
  uint64_t position_ = 0;  // samples
  std::vector<std::byte> buffer_;
};

}  // namespace tervo
