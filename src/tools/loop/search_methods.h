#pragma once
// Ways of finding the best pair among many. All find the same one.

#include <span>
#include <vector>

#include "dsp/span_kernels.h"
#include "tools/loop/loop_contest.h"
#include "tools/loop/loop_places.h"

namespace tervo {

/// The best normalised correlation is the shortest distance between spans of length 1, and spans are at least as far
/// apart as their projections on any direction. So the spans are sorted by their projection on the direction in which
/// they differ most, and only those near each other are compared. Good where a sound has something worth looping.
class SortedSearch {
 public:
  explicit SortedSearch(LoopContest& contest) : contest_(contest) {}

  /// Sorts, and compares nearest neighbours only, for a first good pair. False when stopped.
  bool prepare(std::span<const LoopPlace> places, const SearchProgress& progress);
  /// Seconds that run() will take, roughly.
  double cost() const;
  /// False when stopped.
  bool run(const SearchProgress& progress);

 private:
  struct Projected {
    float at[dsp::basisSize];
    LoopPlace place;
  };

  const float* spanAt(const LoopPlace& place) const;
  /// Of the distance between two projections.
  static double squareOf(const Projected& a, const Projected& b);
  void compare(const Projected& a, const Projected& b);
  void compareNeighbours(std::size_t of);

  LoopContest& contest_;
  std::vector<Projected> sorted_;
};

/// Compares all pairs that the contest allows, a tile of spans with another at a time. Good where nothing is like
/// anything else (noise), and where few starts are allowed for an end.
class TileSearch {
 public:
  TileSearch(LoopContest& contest, std::span<const LoopPlace> places) : contest_(contest), places_(places) {}

  /// Seconds that run() will take, roughly.
  double cost() const;
  /// False when stopped.
  bool run(const SearchProgress& progress);

 private:
  /// All starts that are allowed for one of the ends [first, last).
  StartRange startsForAll(std::size_t first, std::size_t last) const;

  LoopContest& contest_;
  std::span<const LoopPlace> places_;
};

}  // namespace tervo
