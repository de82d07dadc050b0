#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>

#include "tools/loop/search_methods.h"

namespace tervo {
namespace {

// Products are made anew after so many frames: until then the error of adding and subtracting stays small.
constexpr std::size_t framesOfStretch = 512;
constexpr std::size_t padding = framesOfStretch + spanFrames + 2 * dsp::mostLags;  // that kernels may read
constexpr std::size_t energyBlock = 256;

}  // namespace

/// Starts of both directions that lie near each other, and what was found for them.
struct LagSearch::Stretch {
  std::vector<dsp::LagStart> starts;
  std::vector<uint64_t> hits;
};

double LagSearch::cost(const LoopRange& range) {
  constexpr double secondsOfPair = 0.12e-9;
  const std::size_t frames = range.last - range.first;
  const std::size_t longest = std::min(range.longest, frames), shortest = std::min(range.shortest, longest);
  // Of `frames` starts the later ones have fewer ends behind them.
  const auto pairsBelow = [frames](std::size_t lag) {
    return static_cast<double>(lag) * (static_cast<double>(frames) - static_cast<double>(lag) / 2);
  };
  return (pairsBelow(longest) - pairsBelow(shortest)) * secondsOfPair;
}

void LagSearch::prepare() {
  const auto x = contest_.x();
  float peak = 0;
  for (const float sample : x) peak = std::isfinite(sample) ? std::max(peak, std::abs(sample)) : peak;
  // A power of two leaves all digits as they are.
  const int exponent = peak > 0 ? -std::ilogb(peak) : 0;
  x_.assign(x.size() + padding, 0.0f);
  energies_.assign(x_.size() / energyBlock + 2, 0.0);
  for (std::size_t i = 0; i < x.size(); ++i) {
    x_[i] = std::isfinite(x[i]) ? std::ldexp(x[i], exponent) : 0;
    energies_[i / energyBlock] += double{x_[i]} * double{x_[i]};
  }
  for (std::size_t direction = 0; direction < 2; ++direction) {
    lengths_[direction].assign(x_.size(), std::numeric_limits<float>::infinity());
    for (const uint32_t position : places_[direction].positions)
      lengths_[direction][position] = static_cast<float>(lengthOfSpan(x_.data() + (position - spanBefore)));
  }
}

/// What a sum of products of a stretch of starts with one of ends may be wrong by: each of some 1300 roundings moves it
/// by at most 2^-24 of what it is, which is less than the loudness of both stretches allows.
float LagSearch::errorOf(std::size_t start, std::size_t end) const {
  constexpr double roundings = 2 * (2 * framesOfStretch + spanFrames) * 0x1p-24;
  const auto loudness = [&](std::size_t position, std::size_t frames) {
    double energy = 0;
    const std::size_t last = std::min((position + frames) / energyBlock + 1, energies_.size());
    for (std::size_t i = (position - spanBefore) / energyBlock; i < last; ++i) energy += energies_[i];
    return std::sqrt(energy);
  };
  constexpr std::size_t frames = framesOfStretch + spanBefore;
  constexpr double softest = 1e-35;  // what is lost where products are too small for a float
  return static_cast<float>(roundings * loudness(start, frames) * loudness(end, frames + dsp::mostLags) + softest);
}

SearchEnd LagSearch::run(const SearchProgress& progress) {
  constexpr std::size_t timesBetween = 2000;  // two asks for progress
  prepare();
  std::vector<std::pair<uint32_t, std::size_t>> starts;
  for (std::size_t direction = 0; direction < 2; ++direction)
    for (const uint32_t position : places_[direction].positions) starts.emplace_back(position, direction);
  std::sort(starts.begin(), starts.end());
  if (starts.empty()) return SearchEnd::done;

  const LoopRange& range = contest_.range();
  const std::size_t lastEnd = starts.back().first;
  Stretch stretch;
  std::size_t times = 0;
  for (std::size_t i = 0; i < starts.size();) {
    const std::size_t first = starts[i].first;
    stretch.starts.clear();
    for (; i < starts.size() && starts[i].first < first + framesOfStretch; ++i) {
      const auto& lengths = lengths_[starts[i].second];
      stretch.starts.push_back({starts[i].first, lengths[starts[i].first], lengths.data()});
    }
    stretch.hits.resize(stretch.starts.size());
    for (std::size_t lag = range.shortest - 1; lag <= range.longest && first + lag <= lastEnd;
         lag += dsp::spanKernels().lagsTogether) {
      offerHits(stretch, lag);
      if (++times % timesBetween != 0) continue;
      const double rest = 1 - static_cast<double>(first) / static_cast<double>(lastEnd);
      if (!progress(1 - rest * rest)) return SearchEnd::stopped;
    }
  }
  return SearchEnd::done;
}

void LagSearch::offerHits(Stretch& stretch, std::size_t lag) {
  const std::size_t first = stretch.starts.front().position;
  const dsp::LagProducts products{x_.data(),
                                  lag,
                                  stretch.starts.data(),
                                  stretch.starts.size(),
                                  static_cast<float>(contest_.bar()),
                                  errorOf(first, first + lag)};
  dsp::spanKernels().productsByLag(products, stretch.hits.data());
  for (std::size_t i = 0; i < stretch.hits.size(); ++i) {
    for (uint64_t hits = stretch.hits[i]; hits != 0; hits &= hits - 1) {
      const std::size_t start = stretch.starts[i].position;
      contest_.offer(start, start + lag + static_cast<std::size_t>(std::countr_zero(hits)));
    }
  }
}

}  // namespace tervo
