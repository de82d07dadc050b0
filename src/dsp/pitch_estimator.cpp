#include "dsp/pitch_estimator.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <vector>

#include "dsp/autocorrelation.h"

namespace tervo {
namespace {

constexpr double windowSeconds = 0.1;       // two periods of the lowest pitch
constexpr double longWindowSeconds = 0.4;   // for refining
constexpr std::size_t fewestFrames = 32;    // of a window
constexpr std::size_t mostWindows = 24;     // that are looked at, spread over the sound
constexpr double quietest = 0.03;           // of a window that counts, against the loudest one (-30 dB)
constexpr double leastClarity = 0.8;        // of a window with a pitch
constexpr double agreement = 0.5;           // part of the windows with a pitch that must have the same one, by weight
constexpr double leastVoiced = 0.3;         // part of all windows that it must be: attacks are noisy, chords all over
constexpr double octavesApart = 1.0 / 24;   // windows of the same pitch
constexpr double leastTolerance = 0.00289;  // 5 cents

struct Peak {
  double lag;    ///< frames, with a fraction
  double value;  ///< of the normalised autocorrelation
};

/// The vertex of the parabola through a maximum and its neighbours.
Peak vertex(std::span<const double> n, std::size_t at) {
  if (at == 0 || at + 1 >= n.size()) return {static_cast<double>(at), n[at]};
  const double before = n[at - 1], here = n[at], after = n[at + 1];
  const double bend = before - 2 * here + after;
  if (bend >= 0) return {static_cast<double>(at), here};
  const double offset = std::clamp((before - after) / (2 * bend), -0.5, 0.5);
  return {static_cast<double>(at) + offset, here - (before - after) * offset / 4};
}

/// The value at a fractional lag: a sinc of 24 taps under a Hann window. n is even, and as narrow in frequency as the
/// sound.
double valueAt(std::span<const double> n, double lag) {
  constexpr int half = 12;
  const int whole = static_cast<int>(std::floor(lag));
  double sum = 0;
  for (int k = whole - half + 1; k <= whole + half; ++k) {
    const double distance = lag - k;
    if (std::abs(distance) < 1e-9) return n[static_cast<std::size_t>(k)];
    const double x = std::numbers::pi * distance, taper = std::cos(x / (2 * half));
    sum += n[static_cast<std::size_t>(std::abs(k))] * taper * taper * std::sin(x) / x;
  }
  return sum;
}

/// A bright tone of few frames a period has peaks so narrow that the best whole lag misses most of them, and looks as
/// if it repeated only after several periods: short lags are looked at between the frames, too.
Peak interpolated(std::span<const double> n, std::size_t at) {
  constexpr std::size_t shortLag = 200, margin = 14;
  const Peak peak = vertex(n, at);
  if (at > shortLag || at + margin > n.size() || peak.value < 0.5) return peak;
  double low = static_cast<double>(at) - 1, high = low + 2;
  while (high - low > 1e-3) {
    const double third = (high - low) / 3;
    if (valueAt(n, low + third) < valueAt(n, high - third))
      low += third;
    else
      high -= third;
  }
  const double lag = (low + high) / 2;
  return {lag, valueAt(n, lag)};
}

/// The largest value between each upward and the next downward crossing of zero. The hill at lag 0 is none of them, and
/// neither is one that is cut off by the last lag while it still rises.
std::vector<Peak> keyMaxima(std::span<const double> n) {
  std::vector<Peak> peaks;
  std::size_t at = 0;
  while (at < n.size() && n[at] > 0) ++at;
  while (at < n.size()) {
    while (at < n.size() && n[at] <= 0) ++at;
    std::size_t best = at;
    for (; at < n.size() && n[at] > 0; ++at)
      if (n[at] > n[best]) best = at;
    if (best + 1 < n.size()) peaks.push_back(interpolated(n, best));
  }
  return peaks;
}

/// The top of the hill on which a lag stands, if that is not further away than `reach`.
std::optional<Peak> hillAt(std::span<const double> n, double lag, double reach) {
  auto at = static_cast<std::size_t>(lag + 0.5);
  const std::size_t start = at;
  const auto within = [&](std::size_t to) {
    return to > 0 && to + 1 < n.size() && std::abs(static_cast<double>(to) - static_cast<double>(start)) <= reach;
  };
  if (!within(at)) return std::nullopt;
  while (within(at + 1) && n[at + 1] > n[at]) ++at;
  while (within(at - 1) && n[at - 1] > n[at]) --at;
  if (n[at + 1] > n[at] || n[at - 1] > n[at]) return std::nullopt;
  return interpolated(n, at);
}

/// A period measured over as many periods as the sound is steady for: the error of a peak's place is divided by their
/// number.
Peak overSeveralPeriods(std::span<const double> n, Peak first) {
  Peak period = first;
  for (double count = 2; count * period.lag < static_cast<double>(n.size()); count *= 2) {
    const auto peak = hillAt(n, count * period.lag, std::max(1.0, period.lag / 8));
    if (!peak || peak->value < 0.9 * first.value) break;
    period.lag = peak->lag / count;
  }
  return period;
}

/// The period of one window: the first of the peaks that is nearly as good as the best one. What "nearly" is keeps the
/// octaves apart. A sound repeats after two periods as well as after one, so the threshold is below the best peak; and
/// after half a period it repeats but for its odd harmonics, so the threshold is above what weak ones leave.
std::optional<Peak> periodIn(std::span<const double> n, double shortest) {
  const auto peaks = keyMaxima(n);
  double best = 0;
  for (const Peak& peak : peaks) best = std::max(best, peak.value);
  if (best < leastClarity) return std::nullopt;
  const double threshold = std::clamp(1 - 3 * (1 - best), 0.85 * best, 0.97 * best);
  for (const Peak& peak : peaks)
    if (peak.value >= threshold && peak.lag >= shortest) return overSeveralPeriods(n, peak);
  return std::nullopt;
}

double rms(std::span<const float> x) {
  double sum = 0;
  for (const float sample : x) sum += double{sample} * double{sample};
  return std::sqrt(sum / static_cast<double>(std::max<std::size_t>(x.size(), 1)));
}

struct Window {
  std::size_t first;
  double loudness;
};

/// Windows that overlap by half, those that are loud enough, at most `most` of them, spread evenly.
std::vector<Window> windowsOf(std::span<const float> mono, std::size_t frames, std::size_t most) {
  std::vector<Window> all;
  const std::size_t last = mono.size() - frames, step = std::max<std::size_t>(frames / 2, 1);
  double loudest = 0;
  for (std::size_t first = 0; first <= last; first += step) {
    all.push_back({first, rms(mono.subspan(first, frames))});
    if (std::isfinite(all.back().loudness)) loudest = std::max(loudest, all.back().loudness);
  }
  std::erase_if(all, [&](const Window& window) {
    return !std::isfinite(window.loudness) || !(window.loudness > quietest * loudest);
  });
  if (all.size() <= most) return all;
  std::vector<Window> some;
  for (std::size_t i = 0; i < most; ++i) some.push_back(all[(2 * i + 1) * all.size() / (2 * most)]);
  return some;
}

struct Reading {
  double octaves;  ///< log2 of the frequency
  double weight;   ///< loudness counts by its root: a sustained note tells more than its loud attack
};

/// What the windows of a sound say: the readings of those that have a pitch, and the weight of all of them.
struct Readings {
  std::vector<Reading> readings;
  double weight = 0;
};

Readings readAll(std::span<const float> mono, double sampleRate, std::size_t frames, std::size_t most) {
  Readings all;
  const double shortest = std::max(sampleRate / highestPitch, 4.0) - 0.5;
  const auto longest = std::min(static_cast<std::size_t>(std::ceil(sampleRate / lowestPitch)) + 1, frames / 2);
  Autocorrelation autocorrelation(frames, frames / 2);
  for (const Window& window : windowsOf(mono, frames, most)) {
    const double weight = std::sqrt(window.loudness);
    all.weight += weight;
    const auto n = autocorrelation.of(mono.subspan(window.first, frames));
    const auto period = periodIn(n.first(longest + 1), shortest);
    if (period) all.readings.push_back({std::log2(sampleRate / period->lag), weight * period->value});
  }
  return all;
}

/// The readings within a quarter tone of the one that most agree with, in order; empty when that is too few.
std::vector<Reading> agreeing(const Readings& all) {
  const auto near = [](const Reading& a, const Reading& b) { return std::abs(a.octaves - b.octaves) <= octavesApart; };
  const Reading* middle = nullptr;
  double most = 0, voiced = 0;
  for (const Reading& reading : all.readings) {
    voiced += reading.weight;
    double weight = 0;
    for (const Reading& other : all.readings) weight += near(reading, other) ? other.weight : 0;
    if (weight <= most) continue;
    most = weight;
    middle = &reading;
  }
  std::vector<Reading> result;
  if (!middle || most < std::max(agreement * voiced, leastVoiced * all.weight)) return result;
  for (const Reading& reading : all.readings)
    if (near(reading, *middle)) result.push_back(reading);
  std::sort(result.begin(), result.end(), [](const Reading& a, const Reading& b) { return a.octaves < b.octaves; });
  return result;
}

/// The pitch below which `part` of the readings lie, by weight.
double quantile(const std::vector<Reading>& sorted, double part) {
  double total = 0, below = 0;
  for (const Reading& reading : sorted) total += reading.weight;
  for (const Reading& reading : sorted) {
    below += reading.weight;
    if (below >= part * total) return std::exp2(reading.octaves);
  }
  return std::exp2(sorted.back().octaves);
}

}  // namespace

std::optional<Pitch> estimatePitch(std::span<const float> mono, double sampleRate) {
  const auto frames = std::min(mono.size(), static_cast<std::size_t>(windowSeconds * std::max(sampleRate, 0.0)));
  if (frames < fewestFrames) return std::nullopt;
  const auto readings = agreeing(readAll(mono, sampleRate, frames, mostWindows));
  if (readings.empty()) return std::nullopt;
  const double middle = quantile(readings, 0.5);
  const double spread = std::max(quantile(readings, 0.975) - middle, middle - quantile(readings, 0.025));
  return Pitch{middle, std::max(spread, leastTolerance * middle)};
}

double refinePitch(std::span<const float> mono, double sampleRate, const Pitch& pitch) {
  const auto frames = std::min(mono.size(), static_cast<std::size_t>(longWindowSeconds * std::max(sampleRate, 0.0)));
  if (frames < fewestFrames) return pitch.hertz;
  Autocorrelation autocorrelation(frames, frames / 2);
  std::vector<Reading> readings;
  for (const Window& window : windowsOf(mono, frames, mostWindows / 2)) {
    const auto n = autocorrelation.of(mono.subspan(window.first, frames));
    const double lag = sampleRate / pitch.hertz;
    const auto first = hillAt(n, lag, std::max(1.0, lag * pitch.tolerance / pitch.hertz));
    if (!first) continue;
    const Peak period = overSeveralPeriods(n, *first);
    readings.push_back({std::log2(sampleRate / period.lag), window.loudness * std::max(period.value, 0.0)});
  }
  if (readings.empty()) return pitch.hertz;
  std::sort(readings.begin(), readings.end(), [](const Reading& a, const Reading& b) { return a.octaves < b.octaves; });
  return std::clamp(quantile(readings, 0.5), pitch.hertz - pitch.tolerance, pitch.hertz + pitch.tolerance);
}

}  // namespace tervo
