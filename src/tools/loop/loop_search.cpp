#include "tools/loop/loop_search.h"

#include <array>

#include "tools/loop/loop_contest.h"
#include "tools/loop/loop_places.h"
#include "tools/loop/search_methods.h"

namespace tervo {
namespace {

class Search {
 public:
  Search(std::span<const float> x, const LoopRange& range) : x_(x), range_(range) {}

  /// False when stopped, as below.
  bool prepare(const SearchProgress& progress) {
    const auto crossings = zeroCrossings(x_, range_.first, range_.last);
    return findLoopPlaces(x_, crossings, true, partOf(progress, 0, 0.5), directions_[0], hasSoftSpans_) &&
           findLoopPlaces(x_, crossings, false, partOf(progress, 0.5, 1), directions_[1], hasSoftSpans_);
  }

  /// Adds the best loop that is not like those that are there.
  bool addBest(std::vector<LoopPair>& loops, SearchMethod method, const SearchProgress& progress) const {
    LoopContest contest(x_, range_, loops);
    if (!run(contest, method, progress)) return false;
    if (contest.best()) loops.push_back(*contest.best());
    return true;
  }

 private:
  bool run(LoopContest& contest, SearchMethod method, const SearchProgress& progress) const {
    const bool isOneByOne =
        method == SearchMethod::oneByOne || (method == SearchMethod::automatic && pairs() <= fewPairs);
    if (isOneByOne || hasSoftSpans_) return compareOneByOne(contest, Which::all, progress);
    return compareInner(contest, directions_[0].inner, method, partOf(progress, 0, 0.48)) &&
           compareInner(contest, directions_[1].inner, method, partOf(progress, 0.48, 0.96)) &&
           compareOneByOne(contest, Which::outer, partOf(progress, 0.96, 1));
  }

  static bool compareInner(LoopContest& contest, std::span<const LoopPlace> places, SearchMethod method,
                           const SearchProgress& progress) {
    constexpr double secondsToSortOne = 2e-6;
    TileSearch tiles(contest, places);
    const double secondsOfTiles = tiles.cost();
    const bool isShort = secondsOfTiles < secondsToSortOne * static_cast<double>(places.size());
    if (method == SearchMethod::tiles || (method == SearchMethod::automatic && isShort)) return tiles.run(progress);
    SortedSearch sorted(contest);
    if (!sorted.prepare(places, partOf(progress, 0, 0.1))) return false;
    const bool isSorted = method == SearchMethod::sorted || sorted.cost() < secondsOfTiles;
    const auto rest = partOf(progress, 0.1, 1);
    return isSorted ? sorted.run(rest) : tiles.run(rest);
  }

  enum class Which { all, outer };

  /// All pairs, or those of which a span is not where it is in all others.
  bool compareOneByOne(LoopContest& contest, Which which, const SearchProgress& progress) const {
    for (const LoopPlaces& places : directions_) {
      for (std::size_t i = places.all.size(); i-- > 0;) {
        const std::size_t end = places.all[i];
        StartRange starts = startsFor(places.all, end, range_);
        if (!progress(1 - static_cast<double>(i) / static_cast<double>(places.all.size()))) return false;
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
  bool hasSoftSpans_ = false;
  std::array<LoopPlaces, 2> directions_;
};

}  // namespace

LoopSearch findLoops(std::span<const float> mono, const LoopRange& range, std::size_t most,
                     const SearchProgress& progress, SearchMethod method) {
  LoopSearch result;
  if (range.last <= range.first + range.shortest) return result;
  Search search(mono, range);
  bool goesOn = search.prepare(partOf(progress, 0, 0.1));
  for (std::size_t found = 0; goesOn && found < most && found == result.loops.size(); ++found) {
    const double part = 0.9 / static_cast<double>(most), from = 0.1 + part * static_cast<double>(found);
    goesOn = search.addBest(result.loops, method, partOf(progress, from, from + part));
  }
  if (!goesOn) return {.stopped = true, .loops = {}};
  return result;
}

}  // namespace tervo
