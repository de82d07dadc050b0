#include "tools/loop/whole_scores.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

namespace tervo {
namespace {

constexpr std::size_t together = 4;  // sums that fit into the processor's registers

template <std::size_t Count, typename Chain>
void addUp(const Chain* chains) {
  Score sums[Count] = {};
  for (std::size_t i = 0; i < spanFrames; ++i)
    for (std::size_t k = 0; k < Count; ++k) sums[k] += Score{chains[k].a[i]} * Score{chains[k].b[i]};
  for (std::size_t k = 0; k < Count; ++k) *chains[k].sum = sums[k];
}

/// Quick rather than good: what has the same one is compared.
uint32_t hashOf(const float* frames) {
  constexpr std::size_t lanes = 16;  // for the compiler to make vectors of
  uint32_t words[lanes], hashes[lanes] = {};
  for (std::size_t i = 0; i < spanFrames; i += lanes) {
    std::memcpy(words, frames + i, sizeof words);
    for (std::size_t k = 0; k < lanes; ++k) hashes[k] = (std::rotl(hashes[k], 5) ^ words[k]) + 0x9E3779B9;
  }
  uint64_t hash = 0;
  for (const uint32_t each : hashes) hash = (hash ^ each) * 0x9E3779B97F4A7C15;
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
  for (std::size_t i = 0; i < pairs.size(); ++i) work_[i] = {placeAt(pairs[i].start), placeAt(pairs[i].end), 0, false};
  for (Work& work : work_) {
    identify(work.a);
    identify(work.b);
    // What follows is the same either way round.
    if (work.a.frames > work.b.frames) std::swap(work.a, work.b);
    __builtin_prefetch(&slotOf(work));
  }
  chains_.clear();
  for (std::size_t i = 0; i < pairs.size(); ++i) findScore(work_[i], pairs[i].score);
  addUp();
  for (std::size_t i = 0; i < pairs.size(); ++i)
    if (work_[i].isNew) pairs[i].score = newScore(work_[i]);
}

WholeScores::Place WholeScores::placeAt(std::size_t position) {
  const Place& kept = slotOf(position);
  if (kept.frames != 0 && kept.position == position) return kept;
  const uint32_t hash = hashOf(framesAt(position));
  __builtin_prefetch(&slotOfFrames(hash));
  return {static_cast<uint32_t>(position), hash, 0, 0};
}

void WholeScores::identify(Place& place) {
  if (place.frames != 0) return;
  Place& alike = slotOfFrames(place.hash);
  const bool isAlike = alike.frames != 0 && alike.hash == place.hash &&
                       std::memcmp(framesAt(alike.position), framesAt(place.position), spanFrames * sizeof(float)) == 0;
  place.frames = isAlike ? alike.frames : ++numbers_;
  if (!isAlike) return;
  place.energy = alike.energy;
  keep(place);
}

void WholeScores::findScore(Work& work, Score& score) {
  const Known& known = slotOf(work);
  if (known.frames == keyOf(work)) {
    score = 1 - Score{known.below};
  } else if (work.a.frames == work.b.frames) {
    score = 1;  // of a square the root is exact
  } else {
    work.isNew = true;
    chains_.push_back({framesAt(work.a.position), framesAt(work.b.position), &work.product});
    addEnergy(work.a);
    addEnergy(work.b);
  }
}

Score WholeScores::newScore(const Work& work) {
  const Score score = work.product / std::sqrt(work.a.energy * work.b.energy);
  const auto below = static_cast<double>(1 - score);
  if (1 - Score{below} == score) slotOf(work) = {keyOf(work), below};
  keep(work.a);
  keep(work.b);
  return score;
}

void WholeScores::addEnergy(Place& place) {
  if (place.energy == 0) chains_.push_back({framesAt(place.position), framesAt(place.position), &place.energy});
}

void WholeScores::keep(const Place& place) {
  slotOf(place.position) = place;
  slotOfFrames(place.hash) = place;
}

void WholeScores::addUp() {
  std::size_t i = 0;
  for (; i + together <= chains_.size(); i += together) tervo::addUp<together>(&chains_[i]);
  for (; i < chains_.size(); ++i) tervo::addUp<1>(&chains_[i]);
}

}  // namespace tervo
