#pragma once
// The reverb that all voices share: for each channel eight damped comb filters side by side and four all-pass filters
// in a row, after Schroeder and Moorer, with the delays of the Freeverb structure.

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

/// One channel of it.
class Reverb {
 public:
  enum class Side : uint8_t { left, right };
  Reverb(const ReverbSettings& settings, float sampleRate, Side side);
  /// Adds the wet sound of a block, which is of earlier ones: of the one that is fed next, or of one so many behind it.
  /// Each block is heard once, in order, before it is fed.
  void hear(std::size_t ahead, std::span<float, blockFrames> out) noexcept;
  void feed(std::span<const float, blockFrames> in) noexcept;
  /// With all that was heard fed: from here on it sounds or is idle. Until then it stays what it was.
  void settle() noexcept;
  bool isIdle() const { return !isRunning_ && !tail_.isHeard(); }

 private:
  /// A delay line with the place it is read from.
  struct Delay {
    explicit Delay(std::size_t need) : line(need), frames(need) {}
    const float* read(std::size_t ahead = 0) const noexcept { return line.read(frames, ahead); }

    DelayLine line;
    std::size_t frames;
  };
  void combBlock(std::size_t ahead, float (&wet)[blockFrames]) noexcept;

  float feedback_, damping_, level_;
  std::vector<Delay> combs_, allPasses_;
  Quad damped_[2] = {};  ///< of the first four combs and of the others
  EffectTail tail_;
  bool isRunning_ = false;
};

}  // namespace tervo::audio
