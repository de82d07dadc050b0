#pragma once
// Scores of many pairs at once. What takes time in a score is that each sum waits for the one before it, so several are
// made side by side, and energies are kept for the next pair with the same place.

#include <cstdint>
#include <span>
#include <vector>

#include "tools/loop/span_score.h"

namespace tervo {

class WholeScores {
 public:
  struct Pair {
    std::size_t start, end;
    Score score = 0;
  };

  explicit WholeScores(std::span<const float> x) : x_(x) {}

  /// Makes the scores, each exactly that of spanScore(). All spans are whole: 128 frames before a place and 128 behind.
  void make(std::span<Pair> pairs);

 private:
  struct Energy {
    std::size_t position;
    Score value;
  };
  struct Sums {
    Score product = 0, energyA = 0, energyB = 0;
  };
  struct Chain {
    const float *a, *b;
    Score* sum;
  };

  const float* framesAt(std::size_t position) const { return x_.data() + (position - spanBefore); }
  Energy& slotOf(std::size_t position) { return energies_[position % energies_.size()]; }
  void addEnergy(std::size_t position, Score& energy);
  void addUp();

  std::span<const float> x_;
  std::vector<Energy> energies_;
  std::vector<Sums> sums_;
  std::vector<Chain> chains_;
};

}  // namespace tervo
