#pragma once
// How strong each frequency is in a stretch of sound.

#include <cstddef>
#include <span>
#include <vector>

namespace tervo {

/// Levels in dB of a mono window whose length is a power of two, at least 4: entry k of the window.size() / 2 + 1
/// belongs to k / window.size() of the sample rate. Behind a Hann window; a full-scale sine is 0 dB, silence -200.
std::vector<float> levelSpectrum(std::span<const float> window);

}  // namespace tervo
