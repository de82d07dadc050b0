#include "tools/wave/sample_scan.h"

#include <algorithm>

#include "base/last_error.h"
#include "core/normalise/sample_views.h"
#include "dsp/frame_kernels.h"

namespace tervo {
namespace {

constexpr std::size_t blockFrames = 32768;

/// The next frames: of the memory that they stand in, or read into a buffer.
class Blocks {
 public:
  explicit Blocks(const SampleData& samples)
      : resident_(samples.resident()), channels_(samples.channels()), width_(static_cast<std::size_t>(channels_)) {
    if (!resident_.empty()) return;
    stream_ = samples.open();
    buffer_.resize(blockFrames * width_);
  }

  std::optional<std::span<const float>> next() {
    if (!resident_.empty()) {
      const auto block = resident_.first(std::min(resident_.size(), blockFrames * width_));
      resident_ = resident_.subspan(block.size());
      return block;
    }
    if (!stream_) return std::nullopt;
    const auto frames = fixup::readFully(*stream_, buffer_, channels_);
    if (!frames) return std::nullopt;
    return std::span<const float>(buffer_).first(*frames * width_);
  }

 private:
  std::span<const float> resident_;
  int channels_;
  std::size_t width_;
  std::unique_ptr<SampleStream> stream_;
  std::vector<float> buffer_;
};

}  // namespace

bool scan(const SampleData& samples, Host& host,
          const std::function<bool(std::span<const float> frames, int64_t first)>& look) {
  Blocks blocks(samples);
  for (int64_t first = 0; first < samples.frames();) {
    if (!host.progress(static_cast<double>(first) / static_cast<double>(samples.frames()))) return fail(u"Cancelled");
    const auto block = blocks.next();
    if (!block) return false;
    if (block->empty()) return fail(u"Reading from file failed");
    if (!look(*block, first)) return false;
    first += static_cast<int64_t>(block->size()) / samples.channels();
  }
  return true;
}

std::optional<float> peakOf(const SampleData& samples, Host& host) {
  float peak = 0;
  const bool read = scan(samples, host, [&peak](std::span<const float> frames, int64_t) {
    peak = std::max(peak, dsp::peakOf(frames));
    return true;
  });
  if (!read) return std::nullopt;
  return peak;
}

}  // namespace tervo
