#include "dsp/channel_kernels.h"

#include <algorithm>
#include <cstddef>

#include "dsp/sample_kernels.h"

namespace tervo::dsp {

void mixToMono(std::span<const float> stereo, std::span<float> mono) noexcept {
  const std::size_t frames = std::min(stereo.size() / 2, mono.size());
  channelKernels().mixToMono(stereo.data(), mono.data(), frames);
}

void duplicate(std::span<const float> mono, std::span<float> stereo) noexcept {
  interleave(mono, mono, stereo);
}

void interleave(std::span<const float> left, std::span<const float> right, std::span<float> stereo) noexcept {
  const std::size_t frames = std::min({left.size(), right.size(), stereo.size() / 2});
  channelKernels().interleave(left.data(), right.data(), stereo.data(), frames);
}

void mixToStereo(std::span<const float> frames, std::span<const float> left, std::span<const float> right,
                 std::span<float> stereo) noexcept {
  const std::size_t channels = std::min(left.size(), right.size());
  if (channels == 0) return;
  const std::size_t count = std::min(frames.size() / channels, stereo.size() / 2);
  for (std::size_t i = 0; i < count; ++i) {
    const float* frame = frames.data() + i * channels;
    float sumLeft = 0;
    float sumRight = 0;
    for (std::size_t channel = 0; channel < channels; ++channel) {
      sumLeft += frame[channel] * left[channel];
      sumRight += frame[channel] * right[channel];
    }
    stereo[2 * i] = sumLeft;
    stereo[2 * i + 1] = sumRight;
  }
}

}  // namespace tervo::dsp
