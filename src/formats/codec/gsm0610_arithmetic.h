#pragma once
// The saturating fixed-point operations in which GSM 06.10 is written (EN 300 961, section 5.1).

#include <algorithm>
#include <bit>
#include <cstdint>

namespace tervo::gsm {

constexpr int16_t saturate(int32_t value) {
  return static_cast<int16_t>(std::clamp(value, -32768, 32767));
}
constexpr int16_t add(int a, int b) {
  return saturate(a + b);
}
constexpr int16_t sub(int a, int b) {
  return saturate(a - b);
}
/// Q15 products, cut off and rounded.
constexpr int16_t mult(int a, int b) {
  return saturate((a * b) >> 15);
}
constexpr int16_t multR(int a, int b) {
  return saturate((a * b + 16384) >> 15);
}
constexpr int16_t absolute(int a) {
  return saturate(a < 0 ? -a : a);
}

/// Shifts; a negative number of places shifts the other way.
constexpr int16_t shiftRight(int a, int places) {
  return static_cast<int16_t>(places >= 0 ? a >> std::min(places, 15) : a << std::min(-places, 15));
}
constexpr int16_t shiftLeft(int a, int places) {
  return shiftRight(a, -places);
}

constexpr int32_t saturate32(int64_t value) {
  return static_cast<int32_t>(std::clamp<int64_t>(value, INT32_MIN, INT32_MAX));
}

/// How far a number can be shifted left before its sign is lost; 0 for 0.
constexpr int norm(int32_t value) {
  if (value == 0) return 0;
  return std::countl_zero(static_cast<uint32_t>(value < 0 ? ~value : value)) - 1;
}

/// The Q15 quotient of 0 <= a <= b, b > 0.
constexpr int16_t div(int a, int b) {
  return a == b ? int16_t{32767} : static_cast<int16_t>((int64_t{a} << 15) / b);
}

}  // namespace tervo::gsm
