#include "ui/wave/peak_cache.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <exception>

#include "base/last_error.h"

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

void PeakCache::stop() {
  stopping_ = true;
  if (reader_.joinable()) reader_.join();
  stopping_ = false;
}

void PeakCache::setSamples(SampleRef samples) {
  if (samples == samples_) return;
  stop();
  samples_ = std::move(samples);
  levels_.clear();
  framesDone_ = 0;
  if (!samples_ || samples_->frames() == 0) return;
  try {
    start();
  } catch (const std::exception&) {
    // Short of memory or threads: nothing is drawn, and nothing else suffers.
    levels_.clear();
  }
}

void PeakCache::start() {
  const auto channels = static_cast<std::size_t>(samples_->channels());
  for (int64_t length = finest;; length *= ratio) {
    levels_.emplace_back(stretchesOf(samples_->frames(), length) * channels);
    if (samples_->frames() <= length) break;
  }
  reader_ = std::thread([this] {
    try {
      read(stopping_);
    } catch (const std::exception&) {
      // It is drawn as far as it has got.
    }
  });
}

void PeakCache::wait() {
  if (reader_.joinable()) reader_.join();
}

void PeakCache::read(const std::atomic<bool>& stopping) {
  const SilentFailures nobodyAsked;
  const auto stream = samples_->open();
  if (!stream) return;
  const auto channels = static_cast<std::size_t>(samples_->channels());
  std::vector<float> frames(static_cast<std::size_t>(finest) * channels);
  auto shown = std::chrono::steady_clock::now();
  int64_t stretch = 0;
  for (std::size_t have = 0; !stopping;) {
    const auto count = stream->read(std::span(frames).subspan(have * channels));
    if (!count || (*count == 0 && have == 0)) break;
    have += *count;
    if (*count != 0 && have < static_cast<std::size_t>(finest)) continue;
    finish(std::span(frames).first(have * channels), stretch++);
    have = 0;
    const auto now = std::chrono::steady_clock::now();
    if (now - shown < showEvery) continue;
    shown = now;
    Q_EMIT grown();
  }
  Q_EMIT grown();
}

void PeakCache::finish(std::span<const float> frames, int64_t stretch) {
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

void PeakCache::raise(int64_t stretch) {
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

std::optional<Peak> PeakCache::peak(int channel, double first, double end) const {
  const std::lock_guard lock(filling_);
  const auto done = static_cast<double>(framesDone());
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
