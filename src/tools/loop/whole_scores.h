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

  /// Says which pair make() will be asked for soon: what is known of its places comes into reach meanwhile.
  void expect(std::size_t start, std::size_t end) const {
    if (numbers_.empty()) return;
    __builtin_prefetch(&numbers_[start]);
    __builtin_prefetch(&numbers_[end]);
  }
  /// Makes the scores, each exactly that of spanScore(). All spans are whole, 128 frames before a place and 128 behind,
  /// and not silent.
  void make(std::span<Pair> pairs);

 private:
  /// 256 frames that differ from all others that were looked at, or nearly all.
  struct Frames {
    const float* x;
    Score energy = 0;  ///< 0: not known yet
  };
  struct Place {
    std::size_t position;
    uint32_t hash;  ///< of its frames
  };
  struct Alike {
    uint32_t hash = 0, number = 0;
  };
  struct Known {
    uint64_t numbers = 0;  ///< of both
    double below = 0;      ///< by how much the score is below 1, if that can be told exactly
  };
  struct Work {
    uint32_t a, b;  ///< numbers of frames, the lower one first
    uint64_t numbers() const { return uint64_t{a} << 32 | b; }
    Known* known;
    Score product;
    Pair* pair;
  };
  struct Chain {
    const float *a, *b;
    Score* sum;
  };

  const float* framesAt(std::size_t position) const { return x_.data() + (position - spanBefore); }
  void prepare();
  void numberPlaces(std::span<const Pair> pairs);
  uint32_t numberOf(const Place& place);
  Alike& slotOf(const Place& place) { return alike_[place.hash & (alike_.size() - 1)]; }
  void findScore(Work& work);
  void makeScore(const Work& work);
  void addEnergy(uint32_t number);
  void addUp();

  std::span<const float> x_;
  std::vector<uint32_t> numbers_;  ///< of the frames around each place; 0: not known yet
  std::vector<Frames> frames_;     ///< by number
  // Tables of a power of two of slots; what comes later takes the slot of what is there.
  std::vector<Alike> alike_;
  std::vector<Known> known_;
  std::vector<Place> places_;
  std::vector<Work> work_;
  std::vector<Work*> new_;
  std::vector<Chain> chains_;
};

}  // namespace tervo
