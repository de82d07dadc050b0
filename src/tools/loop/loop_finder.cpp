#include "tools/loop/loop_finder.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "dsp/high_pass.h"
#include "dsp/interpolation.h"

namespace tervo {
namespace {

constexpr double filterRatio = 0.70710677;  // of the cutoff to the fundamental
constexpr double cancelled = 0.01;          // of the mean's level to the louder channel's: 40 dB less

double energyOf(std::span<const float> x, std::size_t first, std::size_t step) {
  double sum = 0;
  for (std::size_t i = first; i < x.size(); i += step) sum += double{x[i]} * double{x[i]};
  return sum;
}

std::vector<float> channelOf(std::span<const float> interleaved, std::size_t channels, std::size_t channel) {
  std::vector<float> result(interleaved.size() / channels);
  for (std::size_t i = 0; i < result.size(); ++i) result[i] = interleaved[i * channels + channel];
  return result;
}

std::vector<LoopCandidate> scoredByChannel(std::span<const LoopPair> pairs, std::span<const float> interleaved,
                                           std::size_t channels) {
  std::vector<LoopCandidate> candidates;
  for (const LoopPair& pair : pairs) candidates.push_back({pair, {}});
  for (std::size_t channel = 0; channel < channels && !pairs.empty(); ++channel) {
    const auto x = channelOf(interleaved, channels, channel);
    for (LoopCandidate& each : candidates)
      each.channelScores.push_back(static_cast<double>(spanScore(x, each.pair.start, each.pair.end)));
  }
  return candidates;
}

std::size_t chosen(const std::vector<LoopCandidate>& candidates, const LoopFinderOptions& options) {
  const auto worst = [&](std::size_t i) {
    return *std::min_element(candidates[i].channelScores.begin(), candidates[i].channelScores.end());
  };
  std::vector<std::size_t> ranked(candidates.size());
  std::iota(ranked.begin(), ranked.end(), std::size_t{0});
  if (options.checkChannels)
    std::stable_sort(ranked.begin(), ranked.end(), [&](std::size_t a, std::size_t b) { return worst(a) > worst(b); });
  return ranked[std::min(options.take, ranked.size()) - 1];
}

}  // namespace

std::vector<float> monoCopy(std::span<const float> interleaved, std::size_t channels) {
  if (channels == 1) return {interleaved.begin(), interleaved.end()};
  std::vector<float> mean(interleaved.size() / channels);
  for (std::size_t i = 0; i < mean.size(); ++i) mean[i] = (interleaved[2 * i] + interleaved[2 * i + 1]) / 2;
  const double left = energyOf(interleaved, 0, 2), right = energyOf(interleaved, 1, 2);
  if (energyOf(mean, 0, 1) > cancelled * cancelled * std::max(left, right)) return mean;
  return channelOf(interleaved, channels, left >= right ? 0 : 1);
}

LoopFinding findLoop(std::span<float> interleaved, std::size_t channels, double sampleRate,
                     const LoopFinderOptions& options, const SearchProgress& progress) {
  std::vector<float> mono = monoCopy(interleaved, channels);
  auto pitch = estimatePitch(mono, sampleRate);
  const LoopRange range = loopRange(mono.size(), options.part, pitch, sampleRate);
  if (pitch && (options.highPass || options.tune)) pitch->hertz = refinePitch(mono, sampleRate, *pitch);
  LoopFinding result;
  if (pitch && options.highPass) {
    const double cutoff = filterRatio * pitch->hertz;
    highPassZeroPhase(mono, 1, 0, cutoff, sampleRate);
    for (std::size_t i = 0; i < channels; ++i) highPassZeroPhase(interleaved, channels, i, cutoff, sampleRate);
    result.cutoff = cutoff;
  }
  constexpr std::size_t enoughToRank = 5;
  const std::size_t most = std::max({options.candidates, options.take, options.checkChannels ? enoughToRank : 1});
  const LoopSearch search = findLoops(mono, range, most, progress);
  result.stopped = search.stopped;
  if (search.loops.empty()) return result;

  result.candidates = scoredByChannel(search.loops, interleaved, channels);
  result.taken = chosen(result.candidates, options);
  const LoopPair& pair = search.loops[result.taken];
  FoundLoop loop{static_cast<double>(pair.start), static_cast<double>(pair.end), 0};
  if (options.fractionalStart) loop.start += fractionalOffset(mono, pair.start, pair.end);
  if (options.tune && pitch) loop.pitch = loopTuning(loop.end - loop.start, pitch->hertz, sampleRate);
  result.loop = loop;
  return result;
}

double fractionalOffset(std::span<const float> mono, std::size_t start, std::size_t end) {
  if (start < 2 || end + 2 > mono.size()) return 0;
  double best = 0, least = 0;
  for (int hundredths = -50; hundredths <= 50; ++hundredths) {
    const float* a = mono.data() + start - (hundredths < 0 ? 1 : 0);
    const double offset = hundredths / 100.0, fraction = hundredths < 0 ? offset + 1 : offset;
    const double off = fourPoint(a[-1], a[0], a[1], a[2], fraction) - double{mono[end]};
    if (hundredths > -50 && off * off >= least) continue;
    least = off * off;
    best = offset;
  }
  return best;
}

double loopTuning(double frames, double hertz, double sampleRate) {
  const double periods = frames * hertz / sampleRate, whole = std::max(std::floor(periods + 0.5), 1.0);
  if (!(periods > 0)) return 0;
  return std::clamp(std::floor(1200 * std::log2(periods / whole) + 0.5) / 100, -12.0, 12.0);
}

}  // namespace tervo
