#include "dsp/spectrum.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <kissfft/kissfft.hh>
#include <numbers>

namespace tervo {

std::vector<float> levelSpectrum(std::span<const float> window) {
  const std::size_t length = window.size();
  std::vector<float> shaped(length);
  for (std::size_t i = 0; i < length; ++i) {
    const double phase = 2 * std::numbers::pi * static_cast<double>(i) / static_cast<double>(length);
    shaped[i] = window[i] * static_cast<float>(0.5 - 0.5 * std::cos(phase));
  }
  const std::size_t half = length / 2;
  std::vector<std::complex<float>> bins(half + 1);
  kissfft<float>(half, false).transform_real(shaped.data(), bins.data());
  // The first bin carries the last one, which is real too, as its imaginary part.
  bins[half] = bins[0].imag();
  bins[0] = bins[0].real();
  // A sine of amplitude 1 gives half the window's length, times the mean of the Hann window, 0.5.
  const double full = static_cast<double>(length) / 4;
  std::vector<float> levels(half + 1);
  for (std::size_t k = 0; k <= half; ++k)
    levels[k] = static_cast<float>(20 * std::log10(std::max(std::abs(std::complex<double>(bins[k])) / full, 1e-10)));
  return levels;
}

}  // namespace tervo
