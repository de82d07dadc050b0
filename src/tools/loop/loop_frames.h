#pragma once
// The frames of a waveform in memory, to be changed.

#include <optional>
#include <vector>

#include "core/waveform.h"
#include "tools/loop/loop_finder.h"
#include "tools/operation.h"

namespace tervo {

struct LoopFrames {
  std::vector<float> interleaved;
  std::size_t channels;

  std::size_t count() const { return interleaved.size() / channels; }
};

/// Nothing with LastErrorText when they cannot be read, or, "Cancelled", when the host wants that.
std::optional<LoopFrames> readLoopFrames(const Waveform& waveform, Host& host);

/// What players that interpolate read behind a loop's end.
inline constexpr std::size_t framesAfterLoop = 32;

/// Ends the sound 32 frames after its loop, which are those that the loop goes on to play; whatever was there.
void cutAfterLoop(LoopFrames& frames, std::size_t loopStart, std::size_t loopEnd);

}  // namespace tervo
