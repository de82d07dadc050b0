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
  /// How many blocks may be heard before the first of them is fed: they must not hear it.
  int blocksTogether() const noexcept;
  /// Adds the wet sound of a block, which is of earlier ones: of the one that is fed next, or of one so many behind it.
  /// Each block is heard once, in order, before it is fed.
  void hear(std::size_t ahead, std::span<float, blockFrames> left, std::span<float, blockFrames> right) noexcept;
  void feed(std::span<const float, blockFrames> in) noexcept;
  /// With all that was heard fed: from here on it sounds or is idle. Until then it stays what it was.
  void settle() noexcept;
  bool isIdle() const { return !isRunning_ && !tail_.isHeard(); }

 private:
  static constexpr std::size_t sides = 2, all = sides * taps;
  float delayAt(float phase) const noexcept;
  void readTaps(std::size_t ahead, float (&wet)[sides][blockFrames]) noexcept;

  ChorusSettings settings_;
  float sampleRate_;
  std::array<DelayLine, sides> lines_;
  std::array<float, all> phases_{};  ///< of the taps, the left side's first
  std::array<float, all> delays_{};  ///< frames, at the end of the last block
  EffectTail tail_;
  bool isRunning_ = false;
};

}  // namespace tervo::audio
