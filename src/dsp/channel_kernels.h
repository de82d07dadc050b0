#pragma once
// Conversions between channel layouts of 32-bit floats. A kernel handles as many whole frames as both spans hold.
// Input and output must not overlap.

#include <span>

namespace tervo::dsp {

/// The mean of the two channels of interleaved stereo frames.
void mixToMono(std::span<const float> stereo, std::span<float> mono) noexcept;
/// Every sample twice: one channel made two.
void duplicate(std::span<const float> mono, std::span<float> stereo) noexcept;
/// Two channels, each on its own, as interleaved frames.
void interleave(std::span<const float> left, std::span<const float> right, std::span<float> stereo) noexcept;

/// Any number of channels reduced to two. `left` and `right` hold one weight a channel; `frames` has left.size()
/// interleaved channels.
void mixToStereo(std::span<const float> frames, std::span<const float> left, std::span<const float> right,
                 std::span<float> stereo) noexcept;

}  // namespace tervo::dsp
