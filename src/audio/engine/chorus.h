#pragma once
// The chorus that all voices share: modulated delays, one line a channel.

#include <array>
#include <span>

#include "audio/engine/delay_line.h"
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
  /// Adds the wet sound of a block of input.
  void process(std::span<const float, blockFrames> in, std::span<float, blockFrames> left,
               std::span<float, blockFrames> right) noexcept;
  bool isIdle() const { return !isRunning_; }

 private:
  struct Tap {
    float phase;
    float delay;  ///< frames, at the end of the last block
  };
  struct Side {
    explicit Side(std::size_t need) : line(need) {}
    DelayLine line;
    std::array<Tap, taps> tap{};
  };
  float delayAt(float phase) const noexcept;
  void processSide(Side& side, std::span<const float, blockFrames> in, std::span<float, blockFrames> out) noexcept;

  ChorusSettings settings_;
  float sampleRate_;
  std::array<Side, 2> sides_;
  EffectTail tail_;
  bool isRunning_ = false;
};

}  // namespace tervo::audio
