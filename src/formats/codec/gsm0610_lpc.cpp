#include "formats/codec/gsm0610_lpc.h"

#include <algorithm>
#include <cstddef>

#include "formats/codec/gsm0610_arithmetic.h"
#include "formats/codec/gsm0610_filter.h"

namespace tervo::gsm {
namespace {

using Autocorrelation = std::array<int32_t, 9>;

int16_t maximum(std::span<const int16_t> samples) {
  int16_t max = 0;
  for (const int16_t sample : samples) max = std::max(max, absolute(sample));
  return max;
}

/// Section 5.2.4, with the scaling that keeps the sums within 32 bits.
Autocorrelation autocorrelate(std::span<int16_t, frameSamples> samples) {
  const int16_t max = maximum(samples);
  const int scale = max == 0 ? 0 : std::max(4 - norm(max * 65536), 0);
  if (scale > 0)
    for (int16_t& sample : samples) sample = multR(sample, 16384 >> (scale - 1));
  Autocorrelation sums{};
  for (std::size_t lag = 0; lag < sums.size(); ++lag) {
    for (std::size_t i = lag; i < samples.size(); ++i) sums[lag] += samples[i] * samples[i - lag];
    sums[lag] *= 2;
  }
  for (int16_t& sample : samples) sample = static_cast<int16_t>(sample * (1 << scale));
  return sums;
}

/// Section 5.2.5, Schur's recursion.
Coefficients reflections(const Autocorrelation& sums) {
  Coefficients r{};
  if (sums[0] == 0) return r;
  const int shift = norm(sums[0]);
  std::array<int16_t, 9> p, k;
  for (std::size_t i = 0; i < p.size(); ++i) p[i] = k[i] = static_cast<int16_t>((sums[i] * (1 << shift)) >> 16);
  for (std::size_t n = 0; n < r.size(); ++n) {
    const int16_t magnitude = absolute(p[1]);
    if (p[0] < magnitude) return r;
    r[n] = div(magnitude, p[0]);
    if (p[1] > 0) r[n] = static_cast<int16_t>(-r[n]);
    p[0] = add(p[0], multR(p[1], r[n]));
    for (std::size_t m = 1; m + n < r.size(); ++m) {
      const int16_t next = p[m + 1];
      p[m] = add(next, multR(k[m], r[n]));
      k[m] = add(k[m], multR(next, r[n]));
    }
  }
  return r;
}

/// Section 5.2.6
int logAreaRatio(int reflection) {
  const int magnitude = absolute(reflection);
  const int lar = magnitude < 22118 ? magnitude >> 1 : magnitude < 31130 ? magnitude - 11059 : (magnitude - 26112) * 4;
  return reflection < 0 ? -lar : lar;
}

/// Section 5.2.7
uint8_t quantized(int lar, const LarQuantizer& quantizer) {
  const int value = add(add(mult(quantizer.a, lar), quantizer.b), 256) >> 9;
  return static_cast<uint8_t>(std::clamp<int>(value, quantizer.lowest, quantizer.highest) - quantizer.lowest);
}

}  // namespace

std::array<uint8_t, 8> analyseLpc(std::span<int16_t, frameSamples> samples) {
  const Coefficients r = reflections(autocorrelate(samples));
  std::array<uint8_t, 8> codes{};
  for (std::size_t i = 0; i < codes.size(); ++i) codes[i] = quantized(logAreaRatio(r[i]), larQuantizers[i]);
  return codes;
}

}  // namespace tervo::gsm
