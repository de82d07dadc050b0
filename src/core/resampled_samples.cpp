#include "core/resampled_samples.h"

#include <algorithm>
#include <atomic>
#include <cmath>

#include "base/last_error.h"
#include "dsp/resampler.h"

namespace tervo {
namespace {

constexpr std::size_t blockFrames = 8192;

/// The most that one reading had to silence.
using Silenced = std::shared_ptr<std::atomic<uint64_t>>;

class ResampledStream final : public SampleStream {
 public:
  ResampledStream(std::unique_ptr<SampleStream> source, std::unique_ptr<Resampler> resampler, int channels,
                  int64_t frames, Silenced silenced)
      : source_(std::move(source)),
        resampler_(std::move(resampler)),
        silenced_(std::move(silenced)),
        channels_(static_cast<std::size_t>(channels)),
        framesLeft_(frames),
        input_(blockFrames * channels_) {}

  std::optional<std::size_t> read(std::span<float> out) override {
    const std::size_t wanted = std::min(out.size() / channels_, static_cast<std::size_t>(framesLeft_));
    std::size_t done = 0;
    while (done < wanted) {
      if (pending_.empty() && !sourceEnded_ && !refill()) return std::nullopt;
      const auto rest = out.subspan(done * channels_, (wanted - done) * channels_);
      const Resampler::Step step = resampler_->process(pending_, rest);
      pending_ = pending_.subspan(step.framesConsumed * channels_);
      done += step.framesProduced;
      if (sourceEnded_ && pending_.empty() && step.framesProduced == 0) {
        // The converter may end a frame early; the length was promised.
        std::fill(rest.begin(), rest.end(), 0.0f);
        done = wanted;
      }
    }
    framesLeft_ -= static_cast<int64_t>(wanted);
    return wanted;
  }

 private:
  bool refill() {
    const auto frames = source_->read(input_);
    if (!frames) return false;
    const auto read = std::span<float>(input_).first(*frames * channels_);
    // One sample that is no finite number would spoil all those that the filter spreads it over.
    for (float& sample : read) {
      if (std::isfinite(sample)) continue;
      sample = 0;
      ++silencedHere_;
    }
    if (silencedHere_ > *silenced_) *silenced_ = silencedHere_;
    pending_ = read;
    sourceEnded_ = *frames == 0;
    return true;
  }

  std::unique_ptr<SampleStream> source_;
  std::unique_ptr<Resampler> resampler_;
  Silenced silenced_;
  uint64_t silencedHere_ = 0;
  std::size_t channels_;
  int64_t framesLeft_;
  std::vector<float> input_;
  std::span<const float> pending_;
  bool sourceEnded_ = false;
};

class ResampledSamples final : public SampleData {
 public:
  ResampledSamples(SampleRef source, double fromHz, double toHz, int64_t frames)
      : SampleData(source->channels(), frames), source_(std::move(source)), fromHz_(fromHz), toHz_(toHz) {}

  std::unique_ptr<SampleStream> open(int64_t firstFrame) const override {
    auto source = source_->open();
    auto resampler = Resampler::create(fromHz_, toHz_, channels());
    if (!source || !resampler) return nullptr;
    auto stream =
        std::make_unique<ResampledStream>(std::move(source), std::move(resampler), channels(), frames(), silenced_);
    // A frame out depends on many frames before it, so reading from the middle starts at the front.
    return skipFrames(*stream, firstFrame, channels()) ? std::move(stream) : nullptr;
  }
  SampleFaults faults() const override { return together(source_->faults(), {.silenced = *silenced_}); }

 private:
  SampleRef source_;
  double fromHz_;
  double toHz_;
  Silenced silenced_ = std::make_shared<std::atomic<uint64_t>>(0);
};

}  // namespace

SampleRef resampled(const SampleRef& data, double fromHz, double toHz) {
  if (fromHz == toHz) return data;
  const double frames = std::round(static_cast<double>(data->frames()) * toHz / fromHz);
  if (!(fromHz > 0) || !(toHz > 0) || !(frames < 9e18)) return fail(u"Can't convert the sample rate");
  return std::make_shared<ResampledSamples>(data, fromHz, toHz, static_cast<int64_t>(frames));
}

std::vector<Marker> scaledMarkers(const std::vector<Marker>& markers, double ratio, int64_t frames) {
  const auto last = static_cast<double>(frames);
  const auto moved = [&](double position) {
    const double now = position * ratio;
    return now > last && now < last + 1 ? last : now;
  };
  std::vector<Marker> scaled = markers;
  for (Marker& marker : scaled) {
    marker.start = moved(marker.start);
    marker.end = moved(marker.end);
  }
  return scaled;
}

}  // namespace tervo
