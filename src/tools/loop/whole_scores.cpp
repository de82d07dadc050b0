#include "tools/loop/whole_scores.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

#include "dsp/span_kernels.h"

namespace tervo {
namespace {

constexpr std::size_t together = 6;  // sums that fit into the processor's registers

/// Quick rather than good: what has the same one is compared.
uint32_t hashOf(const float* frames) {
  constexpr std::size_t lanes = 16;  // for the compiler to make vectors of
  uint32_t words[lanes], hashes[lanes] = {};
  for (std::size_t i = 0; i < spanFrames; i += lanes) {
    std::memcpy(words, frames + i, sizeof words);
    for (std::size_t k = 0; k < lanes; ++k) hashes[k] = (hashes[k] ^ hashes[k] >> 7) + words[k];
  }
  uint64_t hash = 0;
  for (std::size_t k = 0; k < lanes; ++k) hash += hashes[k] * (0x9E3779B97F4A7C15 * (2 * k + 1));
  return static_cast<uint32_t>(hash >> 32);
}

}  // namespace

void WholeScores::prepare() {
  constexpr std::size_t fewest = 1 << 10, most = 1 << 18;
  const std::size_t slots = std::clamp(std::bit_ceil(x_.size() / 8), fewest, most);
  places_.assign(slots, {});
  byFrames_.assign(slots, {});
  known_.assign(slots, {});
  numbers_ = 0;
}

void WholeScores::make(std::span<Pair> pairs) {
  if (pairs.empty()) return;
  // Each step asks the memory for what the next one reads.
  if (places_.empty() || numbers_ > 0xFFFF0000) prepare();
  work_.resize(pairs.size());
  for (std::size_t i = 0; i < pairs.size(); ++i) {
    find(work_[i].a, pairs[i].start);
    find(work_[i].b, pairs[i].end);
    work_[i].score = &pairs[i].score;
  }
  for (Work& work : work_) {
    identify(work.a);
    identify(work.b);
    // The score is the same either way round.
    const auto [low, high] = std::minmax(work.a.frames, work.b.frames);
    work.frames = uint64_t{low} << 32 | high;
    __builtin_prefetch(&slotOf(work));
  }
  chains_.clear();
  new_.clear();
  for (Work& work : work_) findScore(work);
  for (Work* work : new_) addEnergy(work->a);
  for (Work* work : new_) addEnergy(work->b);
  addUp();
  for (const Work* work : new_) makeScore(*work);
}

void WholeScores::find(Place& place, std::size_t position) {
  place = slotOf(position);
  if (place.frames != 0 && place.position == position) return;
  place = {static_cast<uint32_t>(position), hashOf(framesAt(position)), 0, 0};
  __builtin_prefetch(&slotOfFrames(place.hash));
}

void WholeScores::identify(Place& place) {
  if (place.frames != 0) return;
  const Place& alike = slotOfFrames(place.hash);
  const bool isAlike = alike.frames != 0 && alike.hash == place.hash &&
                       std::memcmp(framesAt(alike.position), framesAt(place.position), spanFrames * sizeof(float)) == 0;
  place.frames = isAlike ? alike.frames : ++numbers_;
  if (!isAlike) return;
  place.energy = alike.energy;
  slotOf(place.position) = place;
}

void WholeScores::findScore(Work& work) {
  const Known& known = slotOf(work);
  if (known.frames == work.frames) {
    *work.score = 1 - Score{known.below};
  } else if (work.a.frames == work.b.frames) {
    *work.score = 1;  // of a square the root is exact
  } else {
    new_.push_back(&work);
    chains_.push_back({framesAt(work.a.position), framesAt(work.b.position), &work.product});
  }
}

void WholeScores::makeScore(const Work& work) {
  const Score score = *work.score = work.product / std::sqrt(work.a.energy * work.b.energy);
  const auto below = static_cast<double>(1 - score);
  if (1 - Score{below} == score) slotOf(work) = {work.frames, below};
  keep(work.a);
  keep(work.b);
}

void WholeScores::addEnergy(Place& place) {
  if (place.energy == 0) chains_.push_back({framesAt(place.position), framesAt(place.position), &place.energy});
}

void WholeScores::keep(const Place& place) {
  Place& kept = slotOf(place.position);
  if (kept.frames != 0 && kept.position == place.position) return;
  kept = slotOfFrames(place.hash) = place;
}

void WholeScores::addUp() {
  constexpr std::size_t step = 8;  // of products that are made
  while (chains_.size() % together != 0) chains_.push_back(chains_.back());
  double products[together * spanFrames];
  for (std::size_t i = 0; i < chains_.size(); i += together) {
    const Chain* chains = &chains_[i];
    const double* ofChain[together];
    double* end = products;
    for (std::size_t k = 0; k < together; ++k) {
      const auto [a, b, sum] = chains[k];
      // What the pair before has, as pairs of neighbours as far apart do, is there already.
      const std::ptrdiff_t ahead = k > 0 ? a - chains[k - 1].a : -1;
      const bool overlaps = ahead >= 0 && ahead < std::ptrdiff_t{spanFrames} && b - chains[k - 1].b == ahead;
      const std::size_t missing = overlaps ? (static_cast<std::size_t>(ahead) + step - 1) / step * step : spanFrames;
      ofChain[k] = overlaps ? ofChain[k - 1] + ahead : end;
      end += overlaps ? ahead : std::ptrdiff_t{spanFrames};
      dsp::spanKernels().products(a + spanFrames - missing, b + spanFrames - missing, missing, end - missing);
    }
    Score sums[together] = {};
    for (std::size_t n = 0; n < spanFrames; ++n)
      for (std::size_t k = 0; k < together; ++k) sums[k] += Score{ofChain[k][n]};
    for (std::size_t k = 0; k < together; ++k) *chains[k].sum = sums[k];
  }
}

}  // namespace tervo
