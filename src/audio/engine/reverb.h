#pragma once
// The reverb that all voices share: eight damped comb filters side by side and four all-pass filters in a row for each
// channel, after Schroeder and Moorer, with the delays of the Freeverb structure.

#include <array>
#include <span>
#include <vector>

#include "audio/engine/delay_line.h"
#include "audio/engine/units.h"

namespace tervo::audio {

struct ReverbSettings {
  float room = 0.6f;  ///< 0..1
  float damp = 0.4f;  ///< 0..1
  float level = 0.8f;
};

class Reverb {
 public:
  Reverb(const ReverbSettings& settings, float sampleRate);
  /// Adds the wet sound of a block of input.
  void process(std::span<const float, blockFrames> in, std::span<float, blockFrames> left,
               std::span<float, blockFrames> right) noexcept;
  bool isIdle() const { return !isRunning_; }

 private:
  static constexpr std::size_t combs = 8, allPasses = 4, channels = 2, lines = combs * channels;
  struct AllPass {
    AllPass(std::size_t frames) : line(frames), delay(frames) {}
    DelayLine line;
    std::size_t delay;
  };
  void combBlock(std::span<const float, blockFrames> in, float (&wet)[channels][blockFrames]) noexcept;
  void clear() noexcept;

  float feedback_, damping_, level_;
  std::array<std::size_t, lines> delays_{};
  std::vector<DelayLine> combs_;
  std::array<float, lines> damped_{};
  std::array<std::vector<AllPass>, channels> allPasses_;
  EffectTail tail_;
  bool isRunning_ = false;
};

}  // namespace tervo::audio
