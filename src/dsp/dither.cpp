#include "dsp/dither.h"

#include <algorithm>
#include <cmath>

namespace tervo::dsp {
namespace {

/// Bits that look random for successive numbers (the output function of SplitMix64).
uint64_t scrambled(uint64_t number) {
  uint64_t bits = (number + 1) * 0x9E3779B97F4A7C15;
  bits = (bits ^ bits >> 30) * 0xBF58476D1CE4E5B9;
  bits = (bits ^ bits >> 27) * 0x94D049BB133111EB;
  return bits ^ bits >> 31;
}

/// -0.5 .. 0.5 from 32 bits.
double centred(uint64_t bits) {
  return static_cast<double>(static_cast<int32_t>(static_cast<uint32_t>(bits))) * 0x1p-32;
}

// The filter of five coefficients of "Minimally Audible Noise Shaping", J. Audio Eng. Soc. 39 (1991), for 44.1 kHz.
constexpr double shape[] = {2.033, -2.165, 1.959, -1.590, 0.6149};

}  // namespace

Quantiser::Quantiser(int bits, Dither dither, int channels)
    : half_(std::ldexp(1.0, bits - 1)), dither_(dither), channels_(static_cast<std::size_t>(channels)) {}

double Quantiser::noise(uint64_t place) const noexcept {
  if (dither_ == Dither::none) return 0;
  const uint64_t bits = scrambled(place);
  return dither_ == Dither::rectangular ? centred(bits) : centred(bits) + centred(bits >> 32);
}

float Quantiser::quantise(float sample, uint64_t place, Errors& errors) const noexcept {
  constexpr double mostError = 2;  // more comes from clipping, which later samples are not to make up for
  double wanted = std::isnan(sample) ? 0 : std::clamp(static_cast<double>(sample), -2.0, 2.0) * half_;
  if (dither_ == Dither::shaped) {
    for (std::size_t i = 0; i < taps; ++i) wanted -= shape[i] * errors[i];
  }
  const double rounded = std::clamp(std::floor(wanted + noise(place) + 0.5), -half_, half_ - 1);
  if (dither_ == Dither::shaped) {
    std::copy_backward(errors.begin(), errors.end() - 1, errors.end());
    errors[0] = std::clamp(rounded - wanted, -mostError, mostError);
  }
  return static_cast<float>(rounded / half_);
}

void Quantiser::apply(std::span<const float> in, std::span<float> out, int64_t first) noexcept {
  const uint64_t start = static_cast<uint64_t>(first) * channels_;
  for (std::size_t i = 0; i < in.size(); ++i) out[i] = quantise(in[i], start + i, errors_[i % channels_]);
}

}  // namespace tervo::dsp
