#pragma once
// Four floats side by side, of which the compilers make the processor's vectors. Each of the four is computed as it
// would be alone, so results do not depend on the processor.

#include <cstdint>
#include <cstring>

namespace tervo::audio {

using Quad [[gnu::vector_size(16)]] = float;
using IntQuad [[gnu::vector_size(16)]] = int32_t;

inline Quad quadOf(float x) noexcept {
  return Quad{x, x, x, x};
}
/// From anywhere, aligned or not.
inline Quad loadQuad(const float* from) noexcept {
  Quad quad;
  std::memcpy(&quad, from, sizeof(quad));
  return quad;
}
inline void store(Quad quad, float* to) noexcept {
  std::memcpy(to, &quad, sizeof(quad));
}

/// Rows become columns: the n-th values of all four become the n-th quad.
inline void transpose(Quad (&rows)[4]) noexcept {
  const Quad ab = __builtin_shufflevector(rows[0], rows[1], 0, 4, 1, 5);
  const Quad cd = __builtin_shufflevector(rows[2], rows[3], 0, 4, 1, 5);
  const Quad abBehind = __builtin_shufflevector(rows[0], rows[1], 2, 6, 3, 7);
  const Quad cdBehind = __builtin_shufflevector(rows[2], rows[3], 2, 6, 3, 7);
  rows[0] = __builtin_shufflevector(ab, cd, 0, 1, 4, 5);
  rows[1] = __builtin_shufflevector(ab, cd, 2, 3, 6, 7);
  rows[2] = __builtin_shufflevector(abBehind, cdBehind, 0, 1, 4, 5);
  rows[3] = __builtin_shufflevector(abBehind, cdBehind, 2, 3, 6, 7);
}

}  // namespace tervo::audio
