#pragma once
// What operations on waveforms do to many samples: plain loops that compilers turn into vector code. The result does
// not depend on the instruction set, nor on how the frames are divided into blocks.

#include <span>

namespace tervo::dsp {

/// The largest magnitude; samples that are not finite do not count.
float peakOf(std::span<const float> samples) noexcept;

/// As many samples as `in` has, times a factor. Here and below `in` and `out` do not overlap.
void multiply(std::span<const float> in, std::span<float> out, float factor) noexcept;

/// Multiplies each of the channels (1 or 2) of interleaved frames by a factor.
void multiplyChannels(std::span<const float> in, std::span<float> out, std::span<const float> factors) noexcept;

/// Adds the sum of each of the channels (1 or 2) to `sums`; samples that are not finite do not count.
void addSums(std::span<const float> frames, std::span<double> sums) noexcept;

/// Adds a value to each of the channels (1 or 2) of interleaved frames.
void addToChannels(std::span<const float> in, std::span<float> out, std::span<const float> values) noexcept;

/// The frames of `in` from the last one to the first. Both have whole frames of 1 or 2 channels and the same size.
void reverseFrames(std::span<const float> in, std::span<float> out, int channels) noexcept;

/// Exchanges the channels of interleaved stereo frames.
void swapChannels(std::span<float> stereo) noexcept;

/// One of the channels (0 or 1) of interleaved stereo frames.
void takeChannel(std::span<const float> stereo, int channel, std::span<float> mono) noexcept;

}  // namespace tervo::dsp
