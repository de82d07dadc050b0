#include "tools/loop/loop_crossfade.h"

#include <algorithm>
#include <cmath>

namespace tervo {
namespace {

/// From almost 1 down to 0 as `left` goes from frames - 1 to 0.
double weightOf(std::size_t left, std::size_t frames, bool exponential) {
  const double linear = static_cast<double>(left) / static_cast<double>(frames);
  return exponential ? std::log10(1 + 9 * linear) : linear;
}

/// Frames of all channels.
struct Frames {
  std::span<float> interleaved;
  std::size_t channels;

  /// From frame `from` on takes the place of `at`; where `ownFirst`, what stands there fades out, else it fades in.
  /// Returns how many samples had to be cut to full scale.
  std::size_t mix(std::size_t at, std::size_t from, std::size_t frames, bool ownFirst, bool exponential) const {
    std::size_t clipped = 0;
    for (std::size_t j = 0; j < frames; ++j) {
      const double weight = weightOf(frames - 1 - j, frames, exponential), own = ownFirst ? weight : 1 - weight;
      for (std::size_t channel = 0; channel < channels; ++channel) {
        float& target = interleaved[(at + j) * channels + channel];
        const double other = interleaved[(from + j) * channels + channel];
        const double mixed = ownFirst ? target * own + other * (1 - weight) : other * weight + target * own;
        if (std::abs(mixed) > 1) ++clipped;
        target = static_cast<float>(std::clamp(mixed, -1.0, 1.0));
      }
    }
    return clipped;
  }
};

}  // namespace

uint32_t maximumCrossfade(uint32_t loopStart, uint32_t loopEnd) {
  return loopEnd > loopStart ? std::min(loopEnd - loopStart, loopStart) : 0;
}

Crossfaded crossfadeLoop(std::span<float> interleaved, std::size_t channels, const LoopCrossfade& fade) {
  const std::size_t frames = interleaved.size() / channels, start = fade.loopStart, end = fade.loopEnd;
  const std::size_t most = maximumCrossfade(fade.loopStart, fade.loopEnd);
  if (most == 0 || end > frames) return {};
  const std::size_t length = fade.length > 0 ? std::min<std::size_t>(fade.length, most) : most;
  const Frames all{interleaved, channels};
  Crossfaded done{.frames = length};
  if (fade.reverse) done.clipped = all.mix(end, start, std::min(frames - end, length), false, fade.exponential);
  done.clipped += all.mix(end - length, start - length, length, true, fade.exponential);
  return done;
}

}  // namespace tervo
