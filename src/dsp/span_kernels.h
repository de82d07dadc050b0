#pragma once
// Comparing spans of 256 samples with many others, as the search for loops does. In single precision: for telling what
// is worth being looked at exactly. The error of a projection or a distance of spans of length 1 is below 2e-5.

#include <cstddef>
#include <cstdint>

#include "dsp/sample_kernels.h"

namespace tervo::dsp {

inline constexpr std::size_t spanSize = 256;
inline constexpr std::size_t mostLags = 64;
inline constexpr std::size_t basisSize = 8;
inline constexpr std::size_t probeSize = 32;
inline constexpr std::size_t glanceSize = 4;
inline constexpr std::size_t partSize = 16;

struct LagStart {
  uint32_t position;     ///< 128 frames behind the beginning of its span
  float length;          ///< of its span
  const float* lengths;  ///< of the spans whose position is 0, 1 ...; infinite where there is none
};
/// Some spans of a sound with those that begin `lag` to `lag + lagsTogether - 1` frames later. `x` and lengths are read
/// up to where the latest of those end.
struct LagProducts {
  const float* x;
  std::size_t lag;
  const LagStart* starts;  ///< in ascending order, few frames apart: a product is made from the one before it
  std::size_t count;       ///< at least 1
  float score;             ///< least product of spans of length 1 that is of interest
  float error;             ///< what a product may be wrong by
};

struct SpanKernels {
  std::size_t lagsTogether;  ///< at most 64
  /// Bit b of hits[s]: the product of start s and the span `lag + b` frames later is as high as needed, or nearly so.
  void (*productsByLag)(const LagProducts& of, uint64_t* hits) noexcept;
  /// Bit b: the product of 32 frames with those that begin `b` frames behind `other` is at least factor · lengths[b].
  /// Of `lagsTogether` of them.
  uint64_t (*probe)(const float* frames, const float* other, const float* lengths, float factor) noexcept;
  /// The same for glanceSize frames.
  uint64_t (*glance)(const float* frames, const float* other, const float* lengths, float factor) noexcept;
  /// sums[k] is the sum of the squares of a - ratio · b in the k-th 16 frames.
  void (*squares)(const float* a, const float* b, float ratio, std::size_t parts, float* sums) noexcept;
  /// The square of the distance between a · scaleA and b · scaleB; more than `limit` as soon as it is more.
  float (*distance)(const float* a, float scaleA, const float* b, float scaleB, float limit) noexcept;
  /// The same, right to a part in 1e13: spans can be told apart whose scores are all 1 but for the last digits.
  double (*exactDistance)(const float* a, double scaleA, const float* b, double scaleB, double limit) noexcept;
  /// out[k] is the product of x · scale and span k of the basis.
  void (*project)(const float* x, float scale, const float* basis, float* out) noexcept;
  /// out[i] is a[i] · b[i], exactly. `count` is a multiple of 8.
  void (*products)(const float* a, const float* b, std::size_t count, double* out) noexcept;
};

/// For one instruction set, and those of the best one here.
const SpanKernels& spanKernels(InstructionSet set) noexcept;
const SpanKernels& spanKernels() noexcept;

}  // namespace tervo::dsp
