#pragma once
// Comparing spans of 256 samples with many others, as the search for loops does. In single precision: for telling what
// is worth being looked at exactly. The error of a product or a distance of spans of length 1 is below 2e-5.

#include <cstddef>

#include "dsp/sample_kernels.h"

namespace tervo::dsp {

inline constexpr std::size_t spanSize = 256;
inline constexpr std::size_t tileRows = 4, tileColumns = 3;  // what fits into sixteen vector registers
inline constexpr std::size_t basisSize = 8;

struct SpanKernels {
  /// out[c * 4 + r] is the product of row span r and column span c; rows and columns stand one after another.
  void (*products)(const float* rows, const float* columns, float* out) noexcept;
  /// The square of the distance between a · scaleA and b · scaleB; more than `limit` as soon as it is more.
  float (*distance)(const float* a, float scaleA, const float* b, float scaleB, float limit) noexcept;
  /// out[k] is the product of x · scale and span k of the basis.
  void (*project)(const float* x, float scale, const float* basis, float* out) noexcept;
};

/// For one instruction set, and those of the best one here.
const SpanKernels& spanKernels(InstructionSet set) noexcept;
const SpanKernels& spanKernels() noexcept;

}  // namespace tervo::dsp
