#pragma once
// Low-frequency oscillators, one value a block.

#include "audio/engine/units.h"
#include "audio/engine/zone.h"

namespace tervo::audio {

/// In the order of the row's values; a shape with "plus" is the unipolar form, 0..1, of the one before it.
enum class LfoShape : uint8_t {
  sine,
  sinePlus,
  square,
  squarePlus,
  triangle,
  trianglePlus,
  sawUp,
  sawUpPlus,
  sawDown,
  sawDownPlus,
  noise,
  noisePlus
};

/// The value of a shape at a phase 0..1; noise holds `held` for a turn.
float lfoShapeAt(LfoShape shape, float phase, float held) noexcept;

class Lfo {
 public:
  void start(const Zone& zone, Modulator which, float sampleRate, uint32_t seed) noexcept;
  /// Advances by one block and returns the value at its end. Silent for the delay, then fading in over the ramp.
  float advance() noexcept;

 private:
  LfoShape shape_ = LfoShape::sine;
  float phase_ = 0;
  float phaseStep_ = 0;
  float delayBlocks_ = 0;
  float ramp_ = 1;  ///< 0..1
  float rampStep_ = 0;
  float held_ = 0;
  Random random_{1};
};

}  // namespace tervo::audio
