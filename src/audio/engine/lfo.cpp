#include "audio/engine/lfo.h"

#include <algorithm>

namespace tervo::audio {
namespace {

using P = ParameterId;

float triangle(float phase) noexcept {
  return phase < 0.25f ? 4 * phase : phase < 0.75f ? 2 - 4 * phase : 4 * phase - 4;
}

float bipolarShape(LfoShape shape, float phase, float held) noexcept {
  switch (shape) {
    case LfoShape::square:
      return phase < 0.5f ? 1.0f : -1.0f;
    case LfoShape::triangle:
      return triangle(phase);
    case LfoShape::sawUp:
      return 2 * phase - 1;
    case LfoShape::sawDown:
      return 1 - 2 * phase;
    case LfoShape::noise:
      return held;
    default:
      return sineOfTurn(phase);
  }
}

}  // namespace

float lfoShapeAt(LfoShape shape, float phase, float held) noexcept {
  const auto number = static_cast<unsigned>(shape);
  const float value = bipolarShape(static_cast<LfoShape>(number & ~1u), phase, held);
  return (number & 1u) != 0 ? 0.5f * value + 0.5f : value;
}

void Lfo::start(const Zone& zone, Modulator which, float sampleRate, uint32_t seed) noexcept {
  const float blocksPerSecond = sampleRate / blockFrames;
  const float shape = zone[inLfo(which, P::pLfoShape)];
  // Formats with further shapes keep their numbers in the document; here they sound as sines.
  shape_ = shape <= static_cast<float>(LfoShape::noisePlus) ? static_cast<LfoShape>(static_cast<int>(shape))
                                                            : LfoShape::sine;
  phase_ = 0;
  phaseStep_ = std::min(zone[inLfo(which, P::pLfoFrequency)] / blocksPerSecond, 0.5f);
  delayBlocks_ = zone[inLfo(which, P::pLfoDelay)] * blocksPerSecond;
  const float rampBlocks = zone[inLfo(which, P::pLfoRamp)] * blocksPerSecond;
  ramp_ = rampBlocks > 0 ? 0.0f : 1.0f;
  rampStep_ = rampBlocks > 0 ? 1 / rampBlocks : 0.0f;
  random_ = Random(seed);
  held_ = random_.bipolar();
}

float Lfo::advance() noexcept {
  float blocks = 1;
  if (delayBlocks_ > 0) {
    const float waited = std::min(delayBlocks_, blocks);
    delayBlocks_ -= waited;
    blocks -= waited;
    if (blocks <= 0) return 0;
  }
  ramp_ = std::min(ramp_ + rampStep_ * blocks, 1.0f);
  phase_ += phaseStep_ * blocks;
  if (phase_ >= 1) {
    phase_ -= 1;
    held_ = random_.bipolar();
  }
  return ramp_ * lfoShapeAt(shape_, phase_, held_);
}

}  // namespace tervo::audio
