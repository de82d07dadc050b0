#include "audio/engine/sinc_oscillator.h"

#include <algorithm>
#include <cmath>

namespace tervo::audio {
namespace {

constexpr int tablesPerOctave = 4, tableCount = 3 * tablesPerOctave + 1;
constexpr std::size_t mostTaps = 2 * SincOscillator::reach;
constexpr float nearly = 1.02f;  // of the output's band may be mirrored: nobody hears that high

/// The product of two rows of 8 n values, in eight sums that the compiler may keep in vectors.
float dot(const float* a, const float* b, std::size_t count) noexcept {
  constexpr std::size_t width = 8;
  float sum[width] = {};
  for (std::size_t i = 0; i < count; i += width)
    for (std::size_t k = 0; k < width; ++k) sum[k] += a[i + k] * b[i + k];
  return ((sum[0] + sum[4]) + (sum[2] + sum[6])) + ((sum[1] + sum[5]) + (sum[3] + sum[7]));
}

}  // namespace

const SincOscillator& SincOscillator::shared() {
  static const SincOscillator oscillator;
  return oscillator;
}

SincOscillator::SincOscillator() {
  for (int i = 0; i < tableCount; ++i) tables_.emplace_back(std::exp2(static_cast<double>(i) / tablesPerOctave));
}

void SincOscillator::render(const float* window, uint32_t phase, uint32_t increment,
                            float (&out)[blockFrames]) const noexcept {
  const float step = static_cast<float>(increment) / (static_cast<float>(fixedOne) * nearly);
  const auto table = std::find_if(tables_.begin(), tables_.end() - 1,
                                  [&](const SincTable& each) { return static_cast<float>(each.step()) >= step; });
  const std::size_t taps = table->taps();
  const float* first = window + reach - taps / 2;
  float weights[mostTaps];
  for (float& sample : out) {
    table->weights(static_cast<double>(phase & (fixedOne - 1)) / static_cast<double>(fixedOne), weights);
    sample = dot(weights, first + (phase >> fixedBits), taps);
    phase += increment;
  }
}

}  // namespace tervo::audio
