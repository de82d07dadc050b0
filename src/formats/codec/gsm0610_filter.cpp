#include "formats/codec/gsm0610_filter.h"

#include <cstddef>

#include "formats/codec/gsm0610_arithmetic.h"

namespace tervo::gsm {

// clang-format off
const std::array<LarQuantizer, 8> larQuantizers = {{
  {20480,     0, -32, 31, 13107},
  {20480,     0, -32, 31, 13107},
  {20480,  2048, -16, 15, 13107},
  {20480, -2560, -16, 15, 13107},
  {13964,    94,  -8,  7, 19223},
  {15360, -1792,  -8,  7, 17476},
  { 8534,  -341,  -4,  3, 31454},
  { 9036, -1144,  -4,  3, 29708},
}};
// clang-format on

namespace {

constexpr std::array<int16_t, 8> pulseLevels = {18431, 20479, 22527, 24575, 26623, 28671, 30719, 32767};  // FAC

/// Section 5.2.9.1: how the coefficients move over a frame, as the shares of the last and of this frame in quarters.
struct Stretch {
  std::size_t begin, end;
  int quartersBefore;
};
constexpr std::array<Stretch, 4> stretches = {{{0, 13, 3}, {13, 27, 2}, {27, 40, 1}, {40, frameSamples, 0}}};

int16_t mixed(int before, int now, int quartersBefore) {
  switch (quartersBefore) {
    case 3:
      return add(add(before >> 2, now >> 2), before >> 1);
    case 2:
      return add(before >> 1, now >> 1);
    case 1:
      return add(add(before >> 2, now >> 2), now >> 1);
    default:
      return static_cast<int16_t>(now);
  }
}

/// Section 5.2.9.2: a log-area ratio as a reflection coefficient.
int16_t reflection(int lar) {
  const int magnitude = absolute(lar);
  const int value = magnitude < 11059   ? magnitude << 1
                    : magnitude < 20070 ? magnitude + 11059
                                        : add(magnitude >> 2, 26112);
  return static_cast<int16_t>(lar < 0 ? -value : value);
}

}  // namespace

Coefficients decodeLars(const std::array<uint8_t, 8>& codes) {
  Coefficients lars;
  for (std::size_t i = 0; i < lars.size(); ++i) {
    const LarQuantizer& quantizer = larQuantizers[i];
    const int offset = sub((codes[i] + quantizer.lowest) * 1024, quantizer.b * 2);
    const int half = multR(quantizer.inverseA, offset);
    lars[i] = add(half, half);
  }
  return lars;
}

template <typename Filter>
void ShortTermFilter::interpolated(const Coefficients& lars, Filter filter) {
  for (const Stretch& stretch : stretches) {
    Coefficients reflections;
    for (std::size_t i = 0; i < lars.size(); ++i)
      reflections[i] = reflection(mixed(before_[i], lars[i], stretch.quartersBefore));
    for (std::size_t k = stretch.begin; k < stretch.end; ++k) filter(reflections, k);
  }
  before_ = lars;
}

void ShortTermFilter::analyse(const Coefficients& lars, std::span<int16_t, frameSamples> samples) {
  interpolated(lars, [&](const Coefficients& reflections, std::size_t k) {
    int16_t forward = samples[k];
    int16_t backward = forward;
    for (std::size_t i = 0; i < reflections.size(); ++i) {
      const int16_t delayed = state_[i];
      state_[i] = backward;
      backward = add(delayed, multR(reflections[i], forward));
      forward = add(forward, multR(reflections[i], delayed));
    }
    samples[k] = forward;
  });
}

void ShortTermFilter::synthesise(const Coefficients& lars, std::span<int16_t, frameSamples> samples) {
  interpolated(lars, [&](const Coefficients& reflections, std::size_t k) {
    int16_t value = samples[k];
    for (std::size_t i = reflections.size(); i-- > 0;) {
      value = sub(value, multR(reflections[i], state_[i]));
      state_[i + 1] = add(state_[i], multR(reflections[i], value));
    }
    samples[k] = state_[0] = value;
  });
}

BlockScale blockScale(int code) {
  int exponent = code > 15 ? (code >> 3) - 1 : 0;
  int mantissa = code - (exponent << 3);
  if (mantissa == 0) return {-4, 7};
  while (mantissa <= 7) {
    mantissa = (mantissa << 1) | 1;
    --exponent;
  }
  return {exponent, mantissa - 8};
}

void decodePulses(const Subframe& subframe, std::span<int16_t, subframeSamples> out) {
  const BlockScale scale = blockScale(subframe.block);
  const int level = pulseLevels[static_cast<std::size_t>(scale.mantissa)];
  const int shift = 6 - scale.exponent;
  const int rounding = shiftLeft(1, shift - 1);
  std::fill(out.begin(), out.end(), int16_t{0});
  for (std::size_t i = 0; i < subframe.pulses.size(); ++i) {
    const int pulse = (subframe.pulses[i] * 2 - 7) * 4096;
    out[subframe.grid + 3 * i] = shiftRight(add(multR(level, pulse), rounding), shift);
  }
}

}  // namespace tervo::gsm
