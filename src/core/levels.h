#pragma once
// What applies to a region in the end: its own value of a row, else its layer's, else its instrument's, else the row's
// default.

#include <optional>

#include "core/instrument.h"
#include "core/waveform.h"

namespace tervo {

/// The value of an articulation row (region, layer, instrument), a trigger row (region, layer) or a waveform override
/// (region only); the row's default where no level sets it.
float effectiveValue(const Region& region, ParameterId row);

/// Every articulation row that any of the three levels sets, with the value that applies to the region.
ArticulationSet effectiveArticulation(const Region& region);

/// The articulation of an instrument, a layer or a region; null for other kinds.
ArticulationSet* articulationOf(Item& item);
/// The trigger rows of a layer or a region; null for other kinds.
TriggerSet* triggerOf(Item& item);

/// Key or velocity, both ends included.
struct Range {
  uint8_t low = 0;
  uint8_t high = 127;

  constexpr bool overlaps(Range other) const { return low <= other.high && other.low <= high; }
  constexpr bool operator==(const Range&) const = default;
};
Range keyRange(const Region& region);
Range velocityRange(const Region& region);
/// Whether a region of these ranges sounds at no key and velocity at which one of the layer's regions sounds already.
bool canTake(const Layer& layer, Range keys, Range velocities);

/// The region's override, else its waveform's root key; the row's default when the waveform was deleted.
uint8_t rootKeyOf(const Region& region);

/// Frames of the waveform that the region plays: the row playSection names a marker, 0 stands for the whole waveform
/// and n for its n-th marker. Empty when the waveform was deleted.
struct FrameRange {
  double start = 0;
  double end = 0;
};
FrameRange playedFrames(const Region& region);

/// The loop that the region plays: the row loopSection names a marker, -1 stands for the waveform's main loop, 0 for
/// none and n for its n-th marker. Nothing when there is no loop or it is off.
std::optional<Marker> playedLoop(const Region& region);

}  // namespace tervo
