#pragma once
// Smooths the seam of a loop: what comes before its end fades into what comes before its start, so that the jump from
// the end to the start goes on as the sound would.

#include <cstddef>
#include <cstdint>
#include <span>

namespace tervo {

struct LoopCrossfade {
  uint32_t loopStart;   ///< first frame of the loop
  uint32_t loopEnd;     ///< frame after the last frame of the loop
  uint32_t length = 0;  ///< frames; 0 means the maximum
  bool reverse = true;  ///< also fade what follows the loop's end from the loop's beginning
  bool exponential = false;
};

/// The minimum of the loop's length and the frames before it; 0 for what is no loop.
uint32_t maximumCrossfade(uint32_t loopStart, uint32_t loopEnd);

struct Crossfaded {
  std::size_t frames = 0;   ///< before the loop's end; 0 when nothing was done
  std::size_t clipped = 0;  ///< samples that had to be cut to full scale
};

/// Fades interleaved frames in place. Does nothing for a loop that starts with the waveform, ends before it starts or
/// reaches over the frames.
Crossfaded crossfadeLoop(std::span<float> interleaved, std::size_t channels, const LoopCrossfade& fade);

}  // namespace tervo
