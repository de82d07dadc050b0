#pragma once
// What regions name in a waveform: markers, by their number from 1. An operation that removes or replaces markers says
// here which one each of them is to name from then on.

#include <map>
#include <optional>
#include <unordered_map>
#include <vector>

#include "core/instrument.h"
#include "core/report.h"

namespace tervo {

/// The loop that a region is to play, whatever it played: the waveform's own one, or none.
enum class LoopRow : uint8_t { own, none };

struct Selectors {
  /// From the marker that is named to the one that takes its place; 0: none does.
  using Places = std::map<std::size_t, std::size_t>;
  Places sections;  ///< that regions play
  Places loops;
  std::vector<const Region*> regions;  ///< all that play the waveform, as they are before the operation
  std::unordered_map<const Region*, LoopRow> loopRows;

  static Selectors of(const std::vector<Region*>& regions);
  /// For an operation that takes the marker of a number away.
  void remove(std::size_t number);
};

/// The rows of a region with its selectors changed; nothing when they stay. A selector whose marker is gone is set back
/// to its default and reported.
std::optional<TriggerSet> withSelectors(const Region& region, const Selectors& selectors, ConversionReport& report);

}  // namespace tervo
