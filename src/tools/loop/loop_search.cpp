#include "tools/loop/loop_search.h"

#include "tools/loop/zero_crossings.h"

namespace tervo {
namespace {

class Search {
 public:
  Search(std::span<const float> x, const LoopRange& range, const SearchProgress& progress)
      : x_(x), range_(range), progress_(progress), crossings_(zeroCrossings(x, range.first, range.last)) {}

  /// False when stopped.
  bool run(LoopSearch& result) {
    std::optional<LoopPair> best;
    for (std::size_t e = crossings_.size(); e-- > 0;) {
      const ZeroCrossing end = crossings_[e];
      if (end.position < range_.first + range_.shortest) break;
      if (!progress_(1 - static_cast<double>(e) / static_cast<double>(crossings_.size()))) return false;
      for (std::size_t s = e; s-- > 0;) {
        const ZeroCrossing start = crossings_[s];
        if (start.position + range_.shortest > end.position + 1) continue;
        if (start.position + range_.longest < end.position) break;
        if (start.rising == end.rising) consider(start.position, end.position, result.loops, best);
      }
    }
    if (best) result.loops.push_back(*best);
    return true;
  }

 private:
  void consider(std::size_t start, std::size_t end, const std::vector<LoopPair>& others,
                std::optional<LoopPair>& best) const {
    const Score score = spanScore(x_, start, end);
    if (score > (best ? best->score : 0) && isNew(start, end, others)) best = {start, end, score};
  }
  static bool isNew(std::size_t start, std::size_t end, const std::vector<LoopPair>& others) {
    const auto near = [](std::size_t a, std::size_t b) { return (a > b ? a - b : b - a) <= spanFrames; };
    return std::none_of(others.begin(), others.end(),
                        [&](const LoopPair& other) { return near(other.start, start) && near(other.end, end); });
  }

  std::span<const float> x_;
  LoopRange range_;
  const SearchProgress& progress_;
  std::vector<ZeroCrossing> crossings_;
};

}  // namespace

LoopSearch findLoops(std::span<const float> mono, const LoopRange& range, std::size_t most,
                     const SearchProgress& progress) {
  LoopSearch result;
  if (range.last <= range.first + range.shortest) return result;
  Search search(mono, range, progress);
  for (std::size_t found = 0; found < most && found == result.loops.size(); ++found) {
    if (!search.run(result)) return {.stopped = true, .loops = {}};
  }
  return result;
}

}  // namespace tervo
