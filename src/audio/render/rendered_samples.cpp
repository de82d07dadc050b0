#include "audio/render/rendered_samples.h"

#include <algorithm>
#include <cmath>

#include "base/last_error.h"

namespace tervo::audio {
namespace {

constexpr std::size_t channelCount = 2;
constexpr std::size_t frameBytes = channelCount * sizeof(float);
constexpr float silenceLevel = 3.1622777e-5f;  // -90 dB

class ScratchStream final : public SampleStream {
 public:
  ScratchStream(std::shared_ptr<const platform::ScratchFile> file, int64_t first, int64_t end, float gain)
      : file_(std::move(file)), position_(first), end_(end), gain_(gain) {}

  std::optional<std::size_t> read(std::span<float> out) override {
    const auto frames = std::min(static_cast<int64_t>(out.size() / channelCount), end_ - position_);
    const auto part = out.first(static_cast<std::size_t>(frames) * channelCount);
    if (!file_->readExactly(static_cast<uint64_t>(position_) * frameBytes, std::as_writable_bytes(part)))
      return std::nullopt;
    for (float& sample : part) sample *= gain_;
    position_ += frames;
    return static_cast<std::size_t>(frames);
  }

 private:
  std::shared_ptr<const platform::ScratchFile> file_;
  int64_t position_, end_;
  float gain_;
};

class ScratchSamples final : public SampleData {
 public:
  ScratchSamples(std::shared_ptr<const platform::ScratchFile> file, int64_t first, int64_t frames, float gain)
      : SampleData(static_cast<int>(channelCount), frames), file_(std::move(file)), first_(first), gain_(gain) {}

  std::unique_ptr<SampleStream> open(int64_t firstFrame) const override {
    return std::make_unique<ScratchStream>(file_, first_ + std::clamp<int64_t>(firstFrame, 0, frames()),
                                           first_ + frames(), gain_);
  }

 private:
  std::shared_ptr<const platform::ScratchFile> file_;
  int64_t first_;
  float gain_;
};

}  // namespace

bool RenderSink::flush() {
  const bool done = file_ && file_->append(std::as_bytes(std::span(buffer_)));
  buffer_.clear();
  return done;
}

bool RenderSink::append(std::span<const float> stereo) {
  constexpr std::size_t bufferSamples = 1 << 15;
  for (std::size_t i = 0; i < stereo.size(); ++i) {
    const float size = std::fabs(stereo[i]);
    peak_ = std::max(peak_, size);
    if (size < silenceLevel) continue;
    lastHeard_ = frames_ + static_cast<int64_t>(i / channelCount);
    if (firstHeard_ < 0) firstHeard_ = lastHeard_;
  }
  frames_ += static_cast<int64_t>(stereo.size() / channelCount);
  buffer_.insert(buffer_.end(), stereo.begin(), stereo.end());
  return buffer_.size() < bufferSamples || flush();
}

SampleRef RenderSink::finish(Finish how) {
  if (!flush()) return nullptr;
  const bool isHeard = firstHeard_ >= 0;
  const int64_t first = how.cutsSilence && isHeard ? firstHeard_ : 0;
  const int64_t end = how.cutsSilence && isHeard ? lastHeard_ + 1 : frames_;
  const float gain = how.normalised && peak_ > 0 ? 1 / peak_ : 1.0f;
  return std::make_shared<ScratchSamples>(file_, first, end - first, gain);
}

}  // namespace tervo::audio
