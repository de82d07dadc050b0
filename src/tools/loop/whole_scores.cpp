#include "tools/loop/whole_scores.h"

#include <cmath>
#include <cstring>

namespace tervo {
namespace {

constexpr std::size_t together = 4;  // sums that fit into the processor's registers
constexpr std::size_t keptEnergies = 1 << 15;

template <std::size_t Count, typename Chain>
void addUp(const Chain* chains) {
  Score sums[Count] = {};
  for (std::size_t i = 0; i < spanFrames; ++i)
    for (std::size_t k = 0; k < Count; ++k) sums[k] += Score{chains[k].a[i]} * Score{chains[k].b[i]};
  for (std::size_t k = 0; k < Count; ++k) *chains[k].sum = sums[k];
}

}  // namespace

void WholeScores::make(std::span<Pair> pairs) {
  if (energies_.empty()) energies_.assign(keptEnergies, {0, 0});
  sums_.assign(pairs.size(), {});
  chains_.clear();
  for (std::size_t i = 0; i < pairs.size(); ++i) {
    const auto [start, end, score] = pairs[i];
    const float *a = framesAt(start), *b = framesAt(end);
    // Of a square the root is exact.
    pairs[i].score = std::memcmp(a, b, spanFrames * sizeof(float)) == 0 ? 1 : 0;
    if (pairs[i].score == 1) continue;
    chains_.push_back({a, b, &sums_[i].product});
    addEnergy(start, sums_[i].energyA);
    addEnergy(end, sums_[i].energyB);
  }
  addUp();
  for (std::size_t i = 0; i < pairs.size(); ++i) {
    if (pairs[i].score == 1) continue;
    const Sums& sums = sums_[i];
    slotOf(pairs[i].start) = {pairs[i].start, sums.energyA};
    slotOf(pairs[i].end) = {pairs[i].end, sums.energyB};
    pairs[i].score = sums.product / std::sqrt(sums.energyA * sums.energyB);
  }
}

void WholeScores::addEnergy(std::size_t position, Score& energy) {
  const Energy& kept = slotOf(position);
  if (kept.position == position)
    energy = kept.value;
  else
    chains_.push_back({framesAt(position), framesAt(position), &energy});
}

void WholeScores::addUp() {
  std::size_t i = 0;
  for (; i + together <= chains_.size(); i += together) tervo::addUp<together>(&chains_[i]);
  for (; i < chains_.size(); ++i) tervo::addUp<1>(&chains_[i]);
}

}  // namespace tervo
