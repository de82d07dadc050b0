#pragma once
// The oscillator of higher quality, for rendering that has time: a windowed sinc whose cutoff follows the pitch, so
// that neither images nor what the pitch takes above the output's band are heard. Every instruction set gives the same
// output, as the sums are taken in one order.

#include <memory>
#include <vector>

#include "audio/engine/block.h"
#include "audio/engine/sinc_table.h"

namespace tervo::audio {

class SincOscillator {
 public:
  /// The one that all engines share, made when it is first asked for. Not on the audio thread.
  static const SincOscillator& shared();

  /// Frames that are needed in front of and behind each position, at any increment.
  static constexpr int reach = 128;

  /// Interpolates a block. The window's frame number `reach - 1` is the one at position 0; phase and increment count
  /// 1/2^20 frame.
  void render(const float* window, uint32_t phase, uint32_t increment, float (&out)[blockFrames]) const noexcept;

 private:
  SincOscillator();

  std::vector<SincTable> tables_;  ///< for increments up to 1, and ever higher by a quarter octave
};

}  // namespace tervo::audio
