#pragma once
// Reading frames that are only looked at: where they stand in memory, without copying them.

#include <optional>
#include <span>
#include <vector>

#include "core/sample_data.h"

namespace tervo {

/// One reading from front to back, as a SampleStream is. Belongs to the thread that reads.
class FrameReader {
 public:
  /// Nothing with LastErrorText when the source cannot be read.
  static std::optional<FrameReader> open(SampleRef data, int64_t firstFrame);

  /// The next whole frames, interleaved and valid until the next call: at most so many samples, and less where they do
  /// not stand in memory. Empty at the end; nothing, with LastErrorText, when the source fails.
  std::optional<std::span<const float>> next(std::size_t mostSamples);

 private:
  FrameReader() = default;

  SampleRef data_;
  std::span<const float> resident_;       // what is left of it
  std::unique_ptr<SampleStream> stream_;  // null when the frames stand in memory
  std::vector<float> block_;
};

}  // namespace tervo
