#pragma once
// How well two places of a sound fit together: the normalised correlation of the frames around them.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <span>

namespace tervo {

/// x87 format where the processor has it, on Linux as on Windows: a pair's score does not depend on how it was found.
using Score = long double;

inline constexpr std::size_t spanFrames = 256;  ///< that are compared
inline constexpr std::size_t spanBefore = 128;  ///< of them before the place

/// How many frames before both places the spans begin. Near the end of the sound the span of the end is moved back
/// until it ends with it; near its beginning both begin as early as the span of the start can.
inline std::size_t spanOffset(std::size_t frames, std::size_t start, std::size_t end) {
  const std::size_t offset = end + spanBefore > frames ? end + spanFrames - frames : spanBefore;
  return std::min(offset, start);
}
/// 256, or what is left of the sound: behind it is silence.
inline std::size_t framesOfSpan(std::size_t frames, std::size_t first) {
  return std::min(spanFrames, frames - first);
}

/// -1..1; 0 when either span is silent. start <= end <= x.size().
inline Score spanScore(std::span<const float> x, std::size_t start, std::size_t end) {
  const std::size_t offset = spanOffset(x.size(), start, end);
  const std::size_t framesA = framesOfSpan(x.size(), start - offset), framesB = framesOfSpan(x.size(), end - offset);
  const float *a = x.data() + (start - offset), *b = x.data() + (end - offset);
  // Three sums side by side take little longer than one.
  Score product = 0, energyA = 0, energyB = 0;
  for (std::size_t i = 0; i < framesB; ++i) {
    product += Score{a[i]} * Score{b[i]};
    energyA += Score{a[i]} * Score{a[i]};
    energyB += Score{b[i]} * Score{b[i]};
  }
  for (std::size_t i = framesB; i < framesA; ++i) energyA += Score{a[i]} * Score{a[i]};
  return energyA > 0 && energyB > 0 ? product / std::sqrt(energyA * energyB) : 0;
}

}  // namespace tervo
