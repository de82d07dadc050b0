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
  constexpr std::size_t fewest = 1 << 10, most = 1 << 19;
  const std::size_t slots = std::clamp(std::bit_ceil(x_.size() / 8), fewest, most);
  numbers_.assign(x_.size(), 0);
  frames_.assign(1, {});
  alike_.assign(slots, {});
  known_.assign(slots, {});
}

void WholeScores::make(std::span<Pair> pairs) {
  if (pairs.empty()) return;
  if (numbers_.empty()) prepare();
  numberPlaces(pairs);
  work_.resize(pairs.size());
  for (std::size_t i = 0; i < pairs.size(); ++i) {
    // The score is the same either way round.
    const auto [low, high] = std::minmax({numbers_[pairs[i].start], numbers_[pairs[i].end]});
    Work& work = work_[i] = {low, high, nullptr, 0, &pairs[i]};
    work.known = &known_[(work.numbers() * 0x9E3779B97F4A7C15 >> 32) & (known_.size() - 1)];
    __builtin_prefetch(work.known);
  }
  chains_.clear();
  new_.clear();
  for (Work& work : work_) findScore(work);
  for (const Work* work : new_) addEnergy(work->a);
  for (const Work* work : new_) addEnergy(work->b);
  addUp();
  for (const Work* work : new_) makeScore(*work);
}

// Each step asks the memory for what the next one reads.
void WholeScores::numberPlaces(std::span<const Pair> pairs) {
  places_.clear();
  const auto add = [&](std::size_t position) {
    if (numbers_[position] != 0) return;
    places_.push_back({position, hashOf(framesAt(position))});
    __builtin_prefetch(&slotOf(places_.back()));
  };
  for (const Pair& pair : pairs) {
    add(pair.start);
    add(pair.end);
  }
  for (const Place& place : places_) __builtin_prefetch(&frames_[slotOf(place).number]);
  for (const Place& place : places_) __builtin_prefetch(frames_[slotOf(place).number].x);
  for (const Place& place : places_) numbers_[place.position] = numberOf(place);
}

uint32_t WholeScores::numberOf(const Place& place) {
  Alike& alike = slotOf(place);
  const float* x = framesAt(place.position);
  const bool isAlike = alike.number != 0 && alike.hash == place.hash &&
                       std::memcmp(frames_[alike.number].x, x, spanFrames * sizeof(float)) == 0;
  if (isAlike) return alike.number;
  alike = {place.hash, static_cast<uint32_t>(frames_.size())};
  frames_.push_back({x});
  return alike.number;
}

void WholeScores::findScore(Work& work) {
  if (work.known->numbers == work.numbers()) {
    work.pair->score = 1 - Score{work.known->below};
  } else if (work.a == work.b) {
    work.pair->score = 1;  // of a square the root is exact
  } else {
    new_.push_back(&work);
    chains_.push_back({framesAt(work.pair->start), framesAt(work.pair->end), &work.product});
  }
}

void WholeScores::makeScore(const Work& work) {
  const Score score = work.pair->score = work.product / std::sqrt(frames_[work.a].energy * frames_[work.b].energy);
  const auto below = static_cast<double>(1 - score);
  if (1 - Score{below} == score) *work.known = {work.numbers(), below};
}

void WholeScores::addEnergy(uint32_t number) {
  Frames& frames = frames_[number];
  if (frames.energy == 0) chains_.push_back({frames.x, frames.x, &frames.energy});
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
