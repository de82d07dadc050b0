#pragma once
// 80-bit IEEE 754 extended numbers, big-endian, as AIFF stores its sample rate: sign and exponent, then 64 bits of
// mantissa whose first bit stands for 1.

#include "base/endian.h"

namespace tervo {

struct ExtendedFloat {
  BigU16 signAndExponent;
  BigU64 mantissa;

  ExtendedFloat() = default;
  /// A finite number that is not negative.
  explicit ExtendedFloat(double value);

  /// Of the upper 32 bits of the mantissa, which hold whatever can be a rate; infinities come out as 2^31 - 1.
  double value() const;
};
static_assert(sizeof(ExtendedFloat) == 10);

}  // namespace tervo
