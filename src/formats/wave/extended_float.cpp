#include "formats/wave/extended_float.h"

#include <cmath>

namespace tervo {
namespace {

constexpr int exponentBias = 16383;
constexpr int notFinite = 32767;
constexpr double largest = 2147483647;

}  // namespace

ExtendedFloat::ExtendedFloat(double value) {
  if (value <= 0) return;
  int exponent = 0;
  const double fraction = std::frexp(value, &exponent);  // value = fraction * 2^exponent, fraction in 1/2 .. 1
  signAndExponent = static_cast<uint16_t>(exponent - 1 + exponentBias);
  mantissa = static_cast<uint64_t>(std::ldexp(fraction, 64));
}

double ExtendedFloat::value() const {
  const int exponent = signAndExponent & 0x7FFF;
  if (exponent == 0) return 0;
  const auto upper = static_cast<uint32_t>(mantissa >> 32);
  const double magnitude = exponent == notFinite ? largest : std::ldexp(upper, exponent - exponentBias - 31);
  return signAndExponent & 0x8000 ? -magnitude : magnitude;
}

}  // namespace tervo
