#include "dsp/frame_kernels.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace tervo::dsp {
namespace {

constexpr std::size_t lanes = 64;  // of fewer compilers make single variables in place of vectors

float peakOfFinite(std::span<const float> samples) {
  float highest = 0;
  for (const float sample : samples) highest = std::isfinite(sample) ? std::max(highest, std::abs(sample)) : highest;
  return highest;
}

/// `changed(sample, value)` with the first and the last of the values in turns.
template <typename Changed>
void alternately(std::span<const float> in, std::span<float> out, std::span<const float> values, Changed changed) {
  const float even = values.front(), odd = values.back();
  std::size_t i = 0;
  for (; i + 2 <= in.size(); i += 2) {
    out[i] = changed(in[i], even);
    out[i + 1] = changed(in[i + 1], odd);
  }
  if (i < in.size()) out[i] = changed(in[i], even);
}

struct StereoFrame {
  float left, right;
};

template <typename Frame>
void reverse(const float* in, float* out, std::size_t frames) {
  constexpr std::size_t width = sizeof(Frame) / sizeof(float);
  for (std::size_t i = 0; i < frames; ++i) {
    const float* from = in + (frames - 1 - i) * width;
    for (std::size_t c = 0; c < width; ++c) out[i * width + c] = from[c];
  }
}

}  // namespace

float peakOf(std::span<const float> samples) noexcept {
  float highest[lanes] = {};
  // What is no number is greater than nothing. The operands' order is that of the processor's instruction.
  const auto raise = [&highest](std::size_t lane, float sample) {
    const float magnitude = std::abs(sample);
    highest[lane] = magnitude > highest[lane] ? magnitude : highest[lane];
  };
  std::size_t i = 0;
  for (; i + lanes <= samples.size(); i += lanes) {
    for (std::size_t lane = 0; lane < lanes; ++lane) raise(lane, samples[i + lane]);
  }
  for (; i < samples.size(); ++i) raise(0, samples[i]);
  const float peak = *std::max_element(highest, highest + lanes);
  return std::isfinite(peak) ? peak : peakOfFinite(samples);
}

void multiply(std::span<const float> in, std::span<float> out, float factor) noexcept {
  for (std::size_t i = 0; i < in.size(); ++i) out[i] = in[i] * factor;
}

void multiplyChannels(std::span<const float> in, std::span<float> out, std::span<const float> factors) noexcept {
  alternately(in, out, factors, [](float sample, float factor) { return sample * factor; });
}

void addToChannels(std::span<const float> in, std::span<float> out, std::span<const float> values) noexcept {
  alternately(in, out, values, [](float sample, float value) { return sample + value; });
}

void addSums(std::span<const float> frames, std::span<double> sums) noexcept {
  double even = 0, odd = 0;
  const auto finite = [](float sample) { return std::isfinite(sample) ? static_cast<double>(sample) : 0.0; };
  for (std::size_t i = 0; i < frames.size(); i += 2) even += finite(frames[i]);
  for (std::size_t i = 1; i < frames.size(); i += 2) odd += finite(frames[i]);
  sums.front() += even;
  sums.back() += odd;
}

void reverseFrames(std::span<const float> in, std::span<float> out, int channels) noexcept {
  const auto frames = std::min(in.size(), out.size()) / static_cast<std::size_t>(channels);
  if (channels == 1)
    reverse<float>(in.data(), out.data(), frames);
  else
    reverse<StereoFrame>(in.data(), out.data(), frames);
}

void swapChannels(std::span<float> stereo) noexcept {
  for (std::size_t i = 0; i + 2 <= stereo.size(); i += 2) {
    const float left = stereo[i];
    stereo[i] = stereo[i + 1];
    stereo[i + 1] = left;
  }
}

void takeChannel(std::span<const float> stereo, int channel, std::span<float> mono) noexcept {
  const std::size_t frames = std::min(stereo.size() / 2, mono.size());
  const float* from = stereo.data() + channel;
  float* to = mono.data();
  for (std::size_t i = 0; i < frames; ++i) to[i] = from[2 * i];
}

}  // namespace tervo::dsp
