#pragma once
// The reverb that all voices share: eight damped comb filters side by side and four all-pass filters in a row for each
// channel, after Schroeder and Moorer, with the delays of the Freeverb structure.

#include <array>
#include <span>
#include <vector>

#include "audio/engine/delay_line.h"
#include "audio/engine/quad.h"

namespace tervo::audio {

struct ReverbSettings {
  float room = 0.6f;  ///< 0..1
  float damp = 0.4f;  ///< 0..1
  float level = 0.8f;
};

class Reverb {
 public:
  Reverb(const ReverbSettings& settings, float sampleRate);
  /// Adds the wet sound of the next block, which is of earlier ones.
  void hear(std::span<float, blockFrames> left, std::span<float, blockFrames> right) noexcept;
  /// The input of the block that was heard last.
  void feed(std::span<const float, blockFrames> in) noexcept;
  bool isIdle() const { return !isRunning_; }

 private:
  static constexpr std::size_t channels = 2;
  /// A delay line with the place it is read from.
  struct Delay {
    explicit Delay(std::size_t need) : line(need), frames(need) {}
    const float* read() const noexcept { return line.read(frames); }

    DelayLine line;
    std::size_t frames;
  };
  struct Channel {
    std::vector<Delay> combs, allPasses;
    Quad damped[2] = {};  ///< of the first four combs and of the others
  };
  void combBlock(Channel& channel, float (&wet)[blockFrames]) const noexcept;
  void clear() noexcept;

  float feedback_, damping_, level_;
  std::array<Channel, channels> channels_;
  EffectTail tail_;
  bool isRunning_ = false;
};

}  // namespace tervo::audio
