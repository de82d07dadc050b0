#pragma once
// In which part of a waveform a loop is looked for, and how long it may be.

#include <cstddef>
#include <optional>

#include "dsp/pitch_estimator.h"

namespace tervo {

struct LoopRange {
  std::size_t first = 0;     ///< no start before it
  std::size_t last = 0;      ///< no end behind it
  std::size_t shortest = 0;  ///< frames
  std::size_t longest = 0;   ///< frames
};

/// What the user asks for, in percent of the frames.
struct LoopPercentages {
  double from = 0;
  double to = 100;
  double shortest = 0;
};

/// With a pitch the lengths become those of whole periods: of one, or of the 2, 4, 8 ... that reach the least length
/// asked for, with room for the pitch's tolerance. Where they do not fit, the range grows.
LoopRange loopRange(std::size_t frames, const LoopPercentages& asked, const std::optional<Pitch>& pitch,
                    double sampleRate);

}  // namespace tervo
