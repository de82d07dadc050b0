#include "tools/loop/loop_search.h"

#include <array>

#include "tools/loop/loop_contest.h"
#include "tools/loop/loop_places.h"
#include "tools/loop/search_methods.h"

namespace tervo {
namespace {

class Search {
 public:
  Search(std::span<const float> x, const LoopRange& range, const SearchProgress& progress)
      : x_(x), range_(range), progress_(progress) {
    const auto crossings = zeroCrossings(x, range.first, range.last);
    directions_ = {loopPlaces(x, crossings, true, hasSoftSpans_), loopPlaces(x, crossings, false, hasSoftSpans_)};
  }

  /// Adds the best loop that is not like those that are there. False when stopped.
  bool addBest(std::vector<LoopPair>& loops, SearchMethod method) const {
    LoopContest contest(x_, range_, loops);
    if (!run(contest, method)) return false;
    if (contest.best()) loops.push_back(*contest.best());
    return true;
  }

 private:
  bool run(LoopContest& contest, SearchMethod method) const {
    if (method == SearchMethod::oneByOne || hasSoftSpans_) return compareOneByOne(contest, Which::all);
    if (method == SearchMethod::automatic && pairs() <= fewPairs) return compareOneByOne(contest, Which::all);
    for (const LoopPlaces& places : directions_) {
      if (!compareInner(contest, places.inner, method)) return false;
    }
    return compareOneByOne(contest, Which::outer);
  }

  bool compareInner(LoopContest& contest, std::span<const LoopPlace> places, SearchMethod method) const {
    constexpr double secondsToSortOne = 2e-6;
    TileSearch tiles(contest, places);
    const double secondsOfTiles = tiles.cost();
    const bool isShort = secondsOfTiles < secondsToSortOne * static_cast<double>(places.size());
    if (method == SearchMethod::tiles || (method == SearchMethod::automatic && isShort)) return tiles.run(progress_);
    SortedSearch sorted(contest, places);
    sorted.compareNeighbours();
    const bool isSorted = method == SearchMethod::sorted || sorted.cost() < secondsOfTiles;
    return isSorted ? sorted.run(progress_) : tiles.run(progress_);
  }

  enum class Which { all, outer };

  /// All pairs, or those of which a span is not where it is in all others.
  bool compareOneByOne(LoopContest& contest, Which which) const {
    for (const LoopPlaces& places : directions_) {
      for (std::size_t i = places.all.size(); i-- > 0;) {
        const std::size_t end = places.all[i];
        StartRange starts = startsFor(places.all, end, range_);
        if (!progress_(1 - static_cast<double>(i) / static_cast<double>(places.all.size()))) return false;
        const bool endIsInner = end + spanBefore <= x_.size();
        for (std::size_t s = starts.first; s < starts.last; ++s) {
          if (which == Which::outer && endIsInner && places.all[s] >= spanBefore) break;
          contest.offer(places.all[s], end);
        }
      }
    }
    return true;
  }

  std::size_t pairs() const {
    std::size_t count = 0;
    for (const LoopPlaces& places : directions_)
      for (const uint32_t end : places.all) count += startsFor(places.all, end, range_).count();
    return count;
  }

  static constexpr std::size_t fewPairs = 20000;

  std::span<const float> x_;
  LoopRange range_;
  const SearchProgress& progress_;
  bool hasSoftSpans_ = false;
  std::array<LoopPlaces, 2> directions_;
};

}  // namespace

LoopSearch findLoops(std::span<const float> mono, const LoopRange& range, std::size_t most,
                     const SearchProgress& progress, SearchMethod method) {
  LoopSearch result;
  if (range.last <= range.first + range.shortest) return result;
  const Search search(mono, range, progress);
  for (std::size_t found = 0; found < most && found == result.loops.size(); ++found) {
    if (!search.addBest(result.loops, method)) return {.stopped = true, .loops = {}};
  }
  return result;
}

}  // namespace tervo
