#include "tools/loop/loop_search.h"

#include <array>
#include <cmath>
#include <limits>

#include "tools/loop/loop_contest.h"
#include "tools/loop/loop_places.h"
#include "tools/loop/probe_search.h"
#include "tools/loop/search_methods.h"
#include "tools/loop/zero_crossings.h"

namespace tervo {
namespace {

class Search {
 public:
  Search(std::span<const float> x, const LoopRange& range) : x_(x), range_(range) {}

  /// False when stopped, as below.
  bool prepare(const SearchProgress& progress) {
    if (!progress(0)) return false;
    for (const ZeroCrossing& each : zeroCrossings(x_, range_.first, range_.last))
      crossings_[each.rising ? 0 : 1].push_back(each.position);
    return true;
  }

  /// Adds the best loop that is not like those that are there.
  bool addBest(std::vector<LoopPair>& loops, SearchMethod method, const SearchProgress& progress) {
    LoopContest contest(x_, range_, loops);
    if (!run(contest, method, progress)) return false;
    if (contest.best()) loops.push_back(*contest.best());
    return true;
  }

 private:
  /// So many that of two such groups probably some make a loop of a length that is allowed: where that is likely groups
  /// are best compared as such, where it is not most of their members need not be compared at all.
  std::size_t manyTwins() const {
    const auto frames = static_cast<double>(range_.last - range_.first);
    const auto allowed = static_cast<double>(range_.longest - std::min(range_.shortest, range_.longest) + 2);
    return static_cast<std::size_t>(std::sqrt(frames / std::min(allowed, frames))) + 1;
  }

  bool run(LoopContest& contest, SearchMethod method, const SearchProgress& progress) {
    const bool isOneByOne = method == SearchMethod::oneByOne || (method == SearchMethod::automatic && hasFewPairs());
    if (isOneByOne) return compareOneByOne(contest, Which::all, progress);
    return compareInner(contest, method, partOf(progress, 0, 0.96)) &&
           compareOneByOne(contest, Which::outer, partOf(progress, 0.96, 1));
  }

  bool compareInner(LoopContest& contest, SearchMethod method, const SearchProgress& progress) {
    const SearchEnd end = probe(contest, method, progress);
    if (end != SearchEnd::tooSlow) return end == SearchEnd::done;
    return preparePlaces(partOf(progress, 0, 0.1)) && comparePlaces(contest, method, partOf(progress, 0.1, 1));
  }

  SearchEnd probe(LoopContest& contest, SearchMethod method, const SearchProgress& progress) {
    constexpr double infinite = std::numeric_limits<double>::infinity();
    const auto crossings = static_cast<double>(crossings_[0].size() + crossings_[1].size());
    const double cells = secondsOfPlace * crossings;
    const bool isWorthIt = method == SearchMethod::automatic && ProbeSearch::cost(range_) < cells;
    if (method != SearchMethod::probes && !isWorthIt) return SearchEnd::tooSlow;
    if (!probes_) probes_.emplace(x_, crossings_);
    return probes_->run(
        contest, method == SearchMethod::probes ? infinite : std::min(3 * cells, LagSearch::cost(range_)), progress);
  }

  bool preparePlaces(const SearchProgress& progress) {
    if (!directions_[0].positions.empty() || !directions_[1].positions.empty()) return true;
    scaled_ = scaledSounds(x_, crossings_);
    for (std::size_t i = 0; i < 2; ++i) {
      const double from = 0.5 * static_cast<double>(i);
      if (!findLoopPlaces(x_, scaled_, crossings_[i], manyTwins(), partOf(progress, from, from + 0.5), directions_[i]))
        return false;
    }
    return true;
  }

  bool comparePlaces(LoopContest& contest, SearchMethod method, const SearchProgress& progress) const {
    LagSearch lags(contest, directions_);
    const double seconds =
        method == SearchMethod::cells ? std::numeric_limits<double>::infinity() : LagSearch::cost(range_);
    SearchEnd end = method == SearchMethod::lags ? SearchEnd::tooSlow : SearchEnd::done;
    for (std::size_t i = 0; i < 2 && end == SearchEnd::done; ++i) {
      const double from = 0.5 * static_cast<double>(i);
      end = CellSearch(contest, directions_[i]).run(seconds, partOf(progress, from, from + 0.5));
    }
    if (end == SearchEnd::tooSlow) end = lags.run(progress);
    return end == SearchEnd::done;
  }

  enum class Which { all, outer };

  /// All pairs, or those of which a span is not where it is in all others.
  bool compareOneByOne(LoopContest& contest, Which which, const SearchProgress& progress) const {
    constexpr std::size_t pairsBetween = 1 << 14;  // two asks for progress
    std::size_t ends = 0, done = 0, looked = 0;
    const auto goesOn = [&] {
      return ++looked % pairsBetween != 0 || progress(static_cast<double>(done) / static_cast<double>(ends));
    };
    for (const auto& places : crossings_) ends += places.size();
    for (const auto& places : crossings_) {
      for (std::size_t i = places.size(); i-- > 0;) {
        ++done;
        if (!goesOn()) return false;
        const std::size_t end = places[i];
        const bool endIsInner = end + spanBefore <= x_.size();
        if (which == Which::outer && endIsInner && end >= range_.longest + spanBefore) continue;
        const StartRange starts = startsFor(places, end, range_);
        for (std::size_t s = starts.first; s < starts.last; ++s) {
          if (which == Which::outer && endIsInner && places[s] >= spanBefore) break;
          contest.offer(places[s], end);
          if (!goesOn()) return false;
        }
      }
    }
    return true;
  }

  bool hasFewPairs() const {
    std::size_t count = 0;
    for (const auto& places : crossings_) {
      for (const uint32_t end : places) {
        count += startsFor(places, end, range_).count();
        if (count > fewPairs) return false;
      }
    }
    return true;
  }

  static constexpr std::size_t fewPairs = 20000;
  static constexpr double secondsOfPlace = 0.6e-6;  // to prepare a crossing for cells

  std::span<const float> x_;
  LoopRange range_;
  std::array<std::vector<uint32_t>, 2> crossings_;  // of either direction
  std::optional<ProbeSearch> probes_;               // prepared when they are needed, as the rest is
  ScaledSounds scaled_;
  std::array<LoopPlaces, 2> directions_;
};

}  // namespace

LoopSearch findLoops(std::span<const float> mono, const LoopRange& range, std::size_t most,
                     const SearchProgress& progress, SearchMethod method) {
  LoopSearch result;
  if (range.last <= range.first + range.shortest) return result;
  Search search(mono, range);
  // A method that is given up has told how far it came; the next one begins again.
  double farthest = 0;
  const SearchProgress ahead = [&](double part) { return progress(farthest = std::max(farthest, part)); };
  bool goesOn = search.prepare(partOf(ahead, 0, 0.1));
  for (std::size_t found = 0; goesOn && found < most && found == result.loops.size(); ++found) {
    const double part = 0.9 / static_cast<double>(most), from = 0.1 + part * static_cast<double>(found);
    goesOn = search.addBest(result.loops, method, partOf(ahead, from, from + part));
  }
  if (!goesOn) return {.stopped = true, .loops = {}};
  return result;
}

}  // namespace tervo
