#pragma once
// Ways of finding the best pair among many. All find the same one.

#include <array>
#include <span>
#include <vector>

#include "dsp/span_kernels.h"
#include "tools/loop/loop_contest.h"
#include "tools/loop/loop_places.h"

namespace tervo {

enum class SearchEnd { done, stopped, tooSlow };

/// The best normalised correlation is the shortest distance between spans of length 1, and spans are at least as far
/// apart as their projections on any directions. So the spans are put into cells by their projections on the
/// directions in which they differ most, and only those of neighbouring cells are compared. The cells are small at
/// first and grow until nothing outside can be nearer than what has been found. Good where a sound has something worth
/// looping.
class CellSearch {
 public:
  CellSearch(LoopContest& contest, const LoopPlaces& places) : contest_(contest), places_(places) {}

  /// Gives up when it will take more than the seconds that another way needs, roughly.
  SearchEnd run(double seconds, const SearchProgress& progress);

 private:
  struct Entry {
    std::array<float, dsp::basisSize> at;  ///< projections
    uint32_t position;
    uint32_t span;
  };
  /// Entries of one cell; spans of one place first, in ascending order.
  struct Cell {
    uint64_t key;
    uint32_t first, several, last;
  };

  bool project(const SearchProgress& progress);
  void fillCells(double width);
  SearchEnd compareCells(double seconds, const SearchProgress& progress);
  /// One going through all cells.
  struct Pass {
    const SearchProgress* progress = nullptr;
    double seconds = 0;           ///< that it may take
    double begin = 0, asked = 0;  ///< what secondsSpent() was
    SearchEnd end = SearchEnd::done;
  };

  /// Asks for progress now and then; false when it is to stop or too slow.
  bool goesOn(uint32_t entry);
  void compare(const Cell& a, const Cell& b);
  void compareSingle(const Cell& a, const Cell& b);
  void compare(const Entry& a, const Entry& b);
  void updateLimits();
  double secondsSpent() const;

  LoopContest& contest_;
  const LoopPlaces& places_;
  std::vector<Entry> projected_, sorted_;
  std::vector<Cell> cells_;
  float nearProjections_ = 0, nearSpans_ = 0;  ///< squares of distances that are worth a closer look
  double looked_ = 0, compared_ = 0;
  Pass pass_;
};

/// Goes through all pairs, also those that are no crossings, by the distance between start and end: the product of two
/// spans is the one of the two a frame earlier, plus a product and minus another. Good where nothing is like anything
/// else (noise). Both directions together.
class LagSearch {
 public:
  LagSearch(LoopContest& contest, std::span<const LoopPlaces, 2> places) : contest_(contest), places_(places) {}

  /// Seconds that run() will take, roughly.
  static double cost(const LoopRange& range);
  SearchEnd run(const SearchProgress& progress);

 private:
  struct Stretch;

  void prepare();
  float errorOf(std::size_t start, std::size_t end) const;
  void offerHits(Stretch& stretch, std::size_t lag);

  LoopContest& contest_;
  std::span<const LoopPlaces, 2> places_;
  std::vector<float> x_;                       ///< its peak is 1; silence behind it
  std::array<std::vector<float>, 2> lengths_;  ///< of the spans by position, for either direction
  std::vector<double> energies_;               ///< of blocks of the sound
};

}  // namespace tervo
