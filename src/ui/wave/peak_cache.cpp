#include "ui/wave/peak_cache.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <exception>
#include <mutex>
#include <span>

#include "base/last_error.h"
#include "platform/thread.h"

namespace tervo::ui {
namespace {

constexpr auto showEvery = std::chrono::milliseconds(100);

std::size_t stretchesOf(int64_t frames, int64_t length) {
  return static_cast<std::size_t>((frames + length - 1) / length);
}

void widen(Peak& peak, Peak other) {
  peak.low = std::min(peak.low, other.low);
  peak.high = std::max(peak.high, other.high);
}

}  // namespace

class PeakCache::Reading {
 public:
  explicit Reading(SampleRef samples);

  /// The work of the thread: to the end, or until it is abandoned.
  void run(PeakCache& cache);
  void abandon() { isAbandoned_ = true; }
  int64_t framesDone() const { return framesDone_; }
  std::optional<Peak> peak(int channel, double first, double end) const;

 private:
  void read(PeakCache& cache);
  void finish(std::span<const float> frames, int64_t stretch);
  void raise(int64_t stretch);

  const SampleRef samples_;
  std::vector<std::vector<Peak>> levels_;  ///< by level, interleaved channels
  mutable std::mutex filling_;             ///< held while a stretch is filled in or looked at
  std::atomic<int64_t> framesDone_{0};
  std::atomic<bool> isAbandoned_{false};
};

PeakCache::PeakCache() = default;

PeakCache::~PeakCache() {
  abandon();
  for (Abandoned& each : abandoned_) each.thread.join();
}

void PeakCache::setSamples(SampleRef samples) {
  if (samples == samples_) return;
  abandon();
  samples_ = std::move(samples);
  if (!samples_ || samples_->frames() == 0) return;
  try {
    start();
  } catch (const std::exception&) {
    // Short of memory: nothing is drawn, and nothing else suffers.
  }
}

void PeakCache::start() {
  abandoned_.reserve(abandoned_.size() + 1);  // giving it up needs no memory
  auto reading = std::make_shared<Reading>(samples_);
  if (platform::startThread(reader_, [this, reading] { reading->run(*this); })) reading_ = std::move(reading);
}

void PeakCache::abandon() {
  std::erase_if(abandoned_, [](Abandoned& each) {
    if (!each.reading.expired()) return false;
    each.thread.join();
    return true;
  });
  if (reading_) reading_->abandon();
  if (reader_.joinable()) abandoned_.push_back({reading_, std::move(reader_)});
  reading_.reset();
}

void PeakCache::wait() {
  if (reader_.joinable()) reader_.join();
}

int64_t PeakCache::framesDone() const {
  return reading_ ? reading_->framesDone() : 0;
}

std::optional<Peak> PeakCache::peak(int channel, double first, double end) const {
  return reading_ ? reading_->peak(channel, first, end) : std::nullopt;
}

PeakCache::Reading::Reading(SampleRef samples) : samples_(std::move(samples)) {
  const auto channels = static_cast<std::size_t>(samples_->channels());
  for (int64_t length = finest;; length *= ratio) {
    levels_.emplace_back(stretchesOf(samples_->frames(), length) * channels);
    if (samples_->frames() <= length) break;
  }
}

void PeakCache::Reading::run(PeakCache& cache) {
  try {
    read(cache);
  } catch (const std::exception&) {
    // It is drawn as far as it has got.
  }
}

void PeakCache::Reading::read(PeakCache& cache) {
  const SilentFailures nobodyAsked;
  const auto stream = samples_->open();
  if (!stream) return;
  const auto channels = static_cast<std::size_t>(samples_->channels());
  std::vector<float> frames(static_cast<std::size_t>(finest) * channels);
  auto shown = std::chrono::steady_clock::now();
  int64_t stretch = 0;
  for (std::size_t have = 0; !isAbandoned_;) {
    const auto count = stream->read(std::span(frames).subspan(have * channels));
    if (!count || (*count == 0 && have == 0)) break;
    have += *count;
    if (*count != 0 && have < static_cast<std::size_t>(finest)) continue;
    finish(std::span(frames).first(have * channels), stretch++);
    have = 0;
    const auto now = std::chrono::steady_clock::now();
    if (now - shown < showEvery) continue;
    shown = now;
    Q_EMIT cache.grown();
  }
  Q_EMIT cache.grown();
}

void PeakCache::Reading::finish(std::span<const float> frames, int64_t stretch) {
  const std::lock_guard lock(filling_);
  const auto channels = static_cast<std::size_t>(samples_->channels());
  Peak* peaks = levels_[0].data() + static_cast<std::size_t>(stretch) * channels;
  for (std::size_t channel = 0; channel < channels; ++channel) {
    Peak peak{frames[channel], frames[channel]};
    for (std::size_t i = channel; i < frames.size(); i += channels) widen(peak, {frames[i], frames[i]});
    peaks[channel] = peak;
  }
  raise(stretch);
  framesDone_ += static_cast<int64_t>(frames.size() / channels);
}

void PeakCache::Reading::raise(int64_t stretch) {
  const auto channels = static_cast<std::size_t>(samples_->channels());
  for (std::size_t level = 1; level < levels_.size(); ++level) {
    const bool isFirst = stretch % ratio == 0;
    const Peak* below = levels_[level - 1].data() + static_cast<std::size_t>(stretch) * channels;
    stretch /= ratio;
    Peak* above = levels_[level].data() + static_cast<std::size_t>(stretch) * channels;
    for (std::size_t channel = 0; channel < channels; ++channel) {
      if (isFirst)
        above[channel] = below[channel];
      else
        widen(above[channel], below[channel]);
    }
  }
}

std::optional<Peak> PeakCache::Reading::peak(int channel, double first, double end) const {
  const std::lock_guard lock(filling_);
  const auto done = static_cast<double>(framesDone_);
  end = std::min(end, done);
  first = std::max(first, 0.0);
  if (first >= end) return std::nullopt;
  std::size_t level = 0;
  int64_t length = finest;
  // Two or more stretches are taken together, so that a peak stays in its pixel.
  while (level + 1 < levels_.size() && static_cast<double>(2 * length * ratio) <= end - first) {
    ++level;
    length *= ratio;
  }
  const auto channels = static_cast<std::size_t>(samples_->channels());
  const auto from = static_cast<std::size_t>(first / static_cast<double>(length));
  const auto to = std::max(from + 1, static_cast<std::size_t>(std::ceil(end / static_cast<double>(length))));
  Peak peak = levels_[level][from * channels + static_cast<std::size_t>(channel)];
  for (std::size_t i = from + 1; i < to; ++i)
    widen(peak, levels_[level][i * channels + static_cast<std::size_t>(channel)]);
  return peak;
}

}  // namespace tervo::ui
