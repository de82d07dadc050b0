#pragma once
// The pair of zero crossings that makes the best loop.

#include <optional>
#include <span>
#include <vector>

#include "tools/loop/loop_range.h"
#include "tools/loop/search_progress.h"
#include "tools/loop/span_score.h"

namespace tervo {

struct LoopPair {
  std::size_t start;
  std::size_t end;
  Score score;
};

struct LoopSearch {
  bool stopped = false;         ///< by the user
  std::vector<LoopPair> loops;  ///< best first; empty when nothing was found
};

/// How pairs are gone through; the result is the same. `automatic` is the one that will be done first.
enum class SearchMethod { automatic, oneByOne, probes, cells, lags };

/// Ends are the zero crossings from range.last downwards; for each of them starts are those of the same direction from
/// end - range.shortest + 1 downwards, not before range.first and not further away than range.longest. The pair with
/// the highest score above 0 wins; of equal ones the one with the latest end, then with the latest start.
/// With `most` above 1 other loops follow, each the best of those of which one end or the other is more than 256 frames
/// away from all the loops before it.
LoopSearch findLoops(std::span<const float> mono, const LoopRange& range, std::size_t most,
                     const SearchProgress& progress, SearchMethod method = SearchMethod::automatic);

}  // namespace tervo
