#include "dsp/autocorrelation.h"

#include <algorithm>
#include <bit>
#include <cassert>
#include <cmath>
#include <complex>
#include <kissfft/kissfft.hh>
#include <numeric>

namespace tervo {

class Autocorrelation::Transform {
 public:
  explicit Transform(std::size_t size) : half_(size / 2, false), spectrum_(size / 2 + 1) {}

  std::size_t size() const { return 2 * (spectrum_.size() - 1); }

  /// Turns samples into their circular autocorrelation; the half from lag 0 to size() / 2 is valid.
  void correlate(std::vector<double>& samples) {
    const std::size_t half = size() / 2;
    half_.transform_real(samples.data(), spectrum_.data());
    samples[0] = spectrum_[0].real() * spectrum_[0].real();
    samples[half] = spectrum_[0].imag() * spectrum_[0].imag();
    for (std::size_t k = 1; k < half; ++k) samples[k] = samples[size() - k] = std::norm(spectrum_[k]);
    // The power spectrum is even, so transforming it forwards is transforming it back.
    half_.transform_real(samples.data(), spectrum_.data());
    for (std::size_t k = 0; k < half; ++k) samples[k] = spectrum_[k].real() / static_cast<double>(size());
  }

 private:
  kissfft<double> half_;
  std::vector<std::complex<double>> spectrum_;
};

Autocorrelation::Autocorrelation(std::size_t window, std::size_t lags)
    : window_(window), transform_(std::make_unique<Transform>(std::bit_ceil(window + lags + 1))), result_(lags + 1) {
  assert(lags < window);
}

Autocorrelation::~Autocorrelation() = default;

std::span<const double> Autocorrelation::of(std::span<const float> window) {
  assert(window.size() == window_);
  const double mean = std::accumulate(window.begin(), window.end(), 0.0) / static_cast<double>(window.size());
  samples_.assign(transform_->size(), 0);
  std::transform(window.begin(), window.end(), samples_.begin(), [mean](float x) { return double{x} - mean; });

  double energy = 0;
  for (std::size_t i = 0; i < window_; ++i) energy += samples_[i] * samples_[i];
  const double silence = energy * 1e-9;
  double both = 2 * energy;
  for (std::size_t lag = 0; lag < result_.size(); ++lag) {
    result_[lag] = both;
    both -= samples_[lag] * samples_[lag] + samples_[window_ - 1 - lag] * samples_[window_ - 1 - lag];
  }
  transform_->correlate(samples_);
  for (std::size_t lag = 0; lag < result_.size(); ++lag)
    result_[lag] = result_[lag] > silence ? 2 * samples_[lag] / result_[lag] : 0;
  return result_;
}

}  // namespace tervo
