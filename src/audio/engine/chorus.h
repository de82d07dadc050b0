#pragma once
// The chorus that all voices share: modulated delays, one line a channel.

#include <array>
#include <span>

#include "audio/engine/delay_line.h"
#include "audio/engine/quad.h"
#include "audio/engine/units.h"

namespace tervo::audio {

struct ChorusSettings {
  float level = 1.0f;
  float feedback = 0.15f;
  float delaySeconds = 0.012f;
  float depthSeconds = 0.003f;  ///< of the modulation, to either side
  float hertz = 0.35f;
};

class Chorus {
 public:
  static constexpr std::size_t taps = 2;

  Chorus(const ChorusSettings& settings, float sampleRate);
  /// Adds the wet sound of the next block, which is of earlier ones.
  void hear(std::span<float, blockFrames> left, std::span<float, blockFrames> right) noexcept;
  /// The input of the block that was heard last.
  void feed(std::span<const float, blockFrames> in) noexcept;
  bool isIdle() const { return !isRunning_; }

 private:
  static constexpr std::size_t sides = 2, all = sides * taps;
  float delayAt(float phase) const noexcept;
  void readTaps(float (&wet)[sides][blockFrames]) noexcept;

  ChorusSettings settings_;
  float sampleRate_;
  std::array<DelayLine, sides> lines_;
  std::array<float, all> phases_{};  ///< of the taps, the left side's first
  std::array<float, all> delays_{};  ///< frames, at the end of the last block
  EffectTail tail_;
  bool isRunning_ = false;
};

}  // namespace tervo::audio
