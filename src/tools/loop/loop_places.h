#pragma once
// The zero crossings of a sound as places that loops may begin and end at, sorted for the ways of searching.

#include <cstdint>
#include <span>
#include <vector>

#include "tools/loop/loop_range.h"
#include "tools/loop/search_progress.h"
#include "tools/loop/span_score.h"
#include "tools/loop/zero_crossings.h"

namespace tervo {

/// A crossing whose span begins 128 frames before it, whatever it is paired with.
struct LoopPlace {
  uint32_t position;
  float scale;         ///< that gives the span length 1
  uint32_t twins = 0;  ///< a number that places share whose spans hold the same samples; 0 where there is just one
};

/// Crossings of one direction, in ascending order.
struct LoopPlaces {
  std::vector<LoopPlace> inner;  ///< their spans fit into the sound
  std::vector<uint32_t> all;
};

/// Spans that are silent, or hold what is no finite number, have no score and are left out of `inner`. `tooSoft`
/// becomes true when there are some that are too soft for single precision. False when stopped.
bool findLoopPlaces(std::span<const float> x, std::span<const ZeroCrossing> crossings, bool rising,
                    const SearchProgress& progress, LoopPlaces& places, bool& tooSoft);

/// Of crossings in ascending order those that may be the start of a loop to `end`: indices first to before last.
struct StartRange {
  std::size_t first, last;

  std::size_t count() const { return last - first; }
};
StartRange startsFor(std::span<const uint32_t> ascending, std::size_t end, const LoopRange& range);
StartRange startsFor(std::span<const LoopPlace> ascending, std::size_t end, const LoopRange& range);

}  // namespace tervo
