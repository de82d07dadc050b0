#include "audio/render/rendered_samples.h"

#include <algorithm>
#include <cmath>

#include "base/last_error.h"
#include "dsp/frame_kernels.h"

namespace tervo::audio {
namespace {

constexpr std::size_t channelCount = 2;
constexpr std::size_t frameBytes = channelCount * sizeof(float);
constexpr float silence = 3.1622777e-5f;  // -90 dB
constexpr int64_t framesAtOnce = 4096;

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
  const float peak = dsp::peakOf(stereo);
  const auto frames = static_cast<int64_t>(stereo.size() / channelCount);
  if (peak == 0) return appendSilence(frames);
  peak_ = std::max(peak_, peak);
  if (soundStart_ < 0) soundStart_ = frames_;
  frames_ += frames;
  soundEnd_ = frames_;
  buffer_.insert(buffer_.end(), stereo.begin(), stereo.end());
  return buffer_.size() < bufferSamples || flush();
}

bool RenderSink::appendSilence(int64_t frames) {
  if (!flush()) return false;
  file_->skip(static_cast<uint64_t>(frames) * frameBytes);
  frames_ += frames;
  return true;
}

/// The first frame that reaches the level; -1 when the file cannot be read. One does.
int64_t RenderSink::firstHeard(float level) const {
  std::vector<float> block(framesAtOnce * channelCount);
  ScratchStream stream(file_, soundStart_, soundEnd_, 1);
  for (int64_t first = soundStart_;; first += framesAtOnce) {
    const auto frames = stream.read(block);
    if (!frames || *frames == 0) return -1;
    for (std::size_t i = 0; i < *frames * channelCount; ++i)
      if (std::fabs(block[i]) >= level) return first + static_cast<int64_t>(i / channelCount);
  }
}

int64_t RenderSink::lastHeard(float level) const {
  std::vector<float> block(framesAtOnce * channelCount);
  for (int64_t end = soundEnd_; end > soundStart_; end -= framesAtOnce) {
    const int64_t first = std::max(end - framesAtOnce, soundStart_);
    const auto frames = ScratchStream(file_, first, end, 1).read(block);
    if (!frames) return -1;
    for (std::size_t i = *frames * channelCount; i > 0; --i)
      if (std::fabs(block[i - 1]) >= level) return first + static_cast<int64_t>((i - 1) / channelCount);
  }
  return -1;
}

SampleRef RenderSink::finish(Finish how) {
  if (!flush()) return nullptr;
  int64_t first = 0, end = frames_;
  if (how.cutsSilence && peak_ > 0) {
    first = firstHeard(peak_ * silence);
    end = lastHeard(peak_ * silence) + 1;
    if (first < 0 || end <= first) return nullptr;
  }
  const float gain = how.normalised && peak_ > 0 ? 1 / peak_ : 1.0f;
  return std::make_shared<ScratchSamples>(file_, first, end - first, gain);
}

}  // namespace tervo::audio
