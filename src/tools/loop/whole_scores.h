#pragma once
// Scores of many pairs at once. What takes time in a score is that each sum waits for the one before it, so several are
// made side by side. And a sound that repeats itself to the last bit, or nearly so, has few different spans: what was
// found for two of them is kept for the next places with the same frames.

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

  /// Says which pair make() will be asked for soon: its places come into reach meanwhile.
  void expect(std::size_t start, std::size_t end) const {
    if (places_.empty()) return;
    __builtin_prefetch(&places_[start & (places_.size() - 1)]);
    __builtin_prefetch(&places_[end & (places_.size() - 1)]);
  }
  /// Makes the scores, each exactly that of spanScore(). All spans are whole, 128 frames before a place and 128 behind,
  /// and not silent.
  void make(std::span<Pair> pairs);

 private:
  struct Place {
    uint32_t position = 0;
    uint32_t hash = 0;    ///< of its frames
    uint32_t frames = 0;  ///< a number for them: places that have the same one have the same frames; 0: not known yet
    Score energy = 0;     ///< 0: not known yet
  };
  struct Known {
    uint64_t frames = 0;  ///< the numbers of both
    double below = 0;     ///< by how much the score is below 1, if that can be told exactly
  };
  struct Work {
    Place a, b;
    uint64_t frames;  ///< the numbers of both
    Score product;
    Score* score;
  };
  struct Chain {
    const float *a, *b;
    Score* sum;
  };

  const float* framesAt(std::size_t position) const { return x_.data() + (position - spanBefore); }
  Place& slotOf(std::size_t position) { return places_[position & (places_.size() - 1)]; }
  Place& slotOfFrames(uint32_t hash) { return byFrames_[hash & (byFrames_.size() - 1)]; }
  Known& slotOf(const Work& work) { return known_[(work.frames * 0x9E3779B97F4A7C15 >> 32) & (known_.size() - 1)]; }
  void prepare();
  void find(Place& place, std::size_t position);
  void identify(Place& place);
  void findScore(Work& work);
  void makeScore(const Work& work);
  void addEnergy(Place& place);
  void keep(const Place& place);
  void addUp();

  std::span<const float> x_;
  // Tables of a power of two of slots; what comes later takes the slot of what is there.
  std::vector<Place> places_, byFrames_;
  std::vector<Known> known_;
  uint32_t numbers_ = 0;
  std::vector<Work> work_;
  std::vector<Work*> new_;
  std::vector<Chain> chains_;
};

}  // namespace tervo
