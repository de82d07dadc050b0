#pragma once
// Stretches of a waveform, as options name them, and a waveform of which only some remain.

#include <optional>
#include <vector>

#include "core/waveform.h"
#include "tools/operation.h"

namespace tervo {

/// Frames [start, end).
struct Stretch {
  int64_t start = 0;
  int64_t end = 0;

  int64_t frames() const { return end - start; }
};

enum class LengthUnit : uint8_t { seconds, frames, percent };
/// The frames of a waveform that a length of the option "unit" comes to, rounded.
int64_t framesOf(double length, const OptionValues& values, const Waveform& waveform);

/// "loop", "section" or "marker", with its name.
Text titleOf(const Marker& marker);
/// "100 to 200", "at 100".
Text placeOf(const Marker& marker);

/// Moves the markers of a waveform of which stretches are kept, as below. It has so many frames then.
void moveMarkers(Waveform& waveform, const std::vector<Stretch>& kept, int64_t frames, const OperationContext& context);

/// Keeps stretches that follow one another and do not overlap, at least one frame in all. Markers go with their frames.
/// Those of which nothing remains go, and regions forget them; a position that regions play from moves to the next
/// frame that remains. What is lost goes into the report.
void keepOnly(Waveform& waveform, std::vector<Stretch> kept, const OperationContext& context);

}  // namespace tervo
