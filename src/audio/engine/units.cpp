#include "audio/engine/units.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace tervo::audio {

float exponential(float x) noexcept {
  // 2^y = 2^n 2^f with f in -0.5..0.5, the latter by the series of e^(f ln 2); doubles keep the result to a float's
  // last bit.
  const double y = std::clamp(static_cast<double>(x), -87.0, 87.0) * 1.4426950408889634;
  const auto n = static_cast<int64_t>(y + (y < 0 ? -0.5 : 0.5));
  const double f = (y - static_cast<double>(n)) * 0.6931471805599453;
  const double series =
      1 +
      f * (1 + f * (1 / 2.0 + f * (1 / 6.0 + f * (1 / 24.0 + f * (1 / 120.0 + f * (1 / 720.0 + f * (1 / 5040.0)))))));
  return static_cast<float>(series * std::bit_cast<double>(static_cast<uint64_t>(n + 1023) << 52));
}

float logarithm(float x) noexcept {
  // x = 2^n m with m in sqrt(1/2)..sqrt(2); ln m = 2 atanh((m - 1) / (m + 1)).
  const auto bits = std::bit_cast<uint64_t>(static_cast<double>(x));
  int64_t n = static_cast<int64_t>(bits >> 52) - 1023;
  double m = std::bit_cast<double>((bits & 0x000FFFFFFFFFFFFF) | 0x3FF0000000000000);
  if (m > 1.4142135623730951) {
    m *= 0.5;
    ++n;
  }
  const double t = (m - 1) / (m + 1), u = t * t;
  const double series = 2 * t * (1 + u * (1 / 3.0 + u * (1 / 5.0 + u * (1 / 7.0 + u * (1 / 9.0 + u / 11)))));
  return static_cast<float>(series + static_cast<double>(n) * 0.6931471805599453);
}

float tangent(float x) noexcept {
  // Half of the angle by the sixth convergent n / d of the continued fraction a / (1 - u / (3 - u / (5 - ...))), then
  // tan(2 a) = 2 tan(a) / (1 - tan(a)^2).
  const double a = 0.5 * static_cast<double>(x), u = a * a;
  const double n = a * (10395 - u * (1260 - u * 21)), d = 10395 - u * (4725 - u * (210 - u));
  return static_cast<float>(2 * n * d / (d * d - n * n));
}

float sineOfTurn(float phase) noexcept {
  const float sign = phase < 0.5f ? 1.0f : -1.0f;
  const float q = phase < 0.25f ? phase : phase < 0.5f ? 0.5f - phase : phase < 0.75f ? phase - 0.5f : 1.0f - phase;
  const float u = q * q * 39.47842f;
  const float series =
      1 - u * (0.16666667f - u * (0.008333334f - u * (0.0001984127f - u * (2.7557319e-6f - u * 2.5052108e-8f))));
  return sign * 6.2831855f * q * series;
}

float levelOfGain(float gain) noexcept {
  if (gain <= 0) return 0;
  return std::max(1 + logarithm(gain) / (lnPerDb * levelRangeDb), 0.0f);
}

}  // namespace tervo::audio
