#pragma once
// The kernels over spans for vectors of any width. `Vector` has Float, lanes, zero, all, load, subtract, multiply,
// multiplyAdd(a, b, sum), sum and storeSums(out, a, b, c, d).

#include "dsp/span_kernels.h"

namespace tervo::dsp {

extern const SpanKernels scalarSpanKernels;
extern const SpanKernels sse2SpanKernels;
extern const SpanKernels avx2SpanKernels;

template <typename Vector>
struct SpanKernelsOf {
  using Float = typename Vector::Float;

  static void products(const float* rows, const float* columns, float* out) noexcept {
    Float sums[tileRows][tileColumns];
    for (auto& row : sums)
      for (Float& sum : row) sum = Vector::zero();
    for (std::size_t i = 0; i < spanSize; i += Vector::lanes) {
      Float column[tileColumns];
      for (std::size_t c = 0; c < tileColumns; ++c) column[c] = Vector::load(columns + c * spanSize + i);
      for (std::size_t r = 0; r < tileRows; ++r) {
        const Float row = Vector::load(rows + r * spanSize + i);
        for (std::size_t c = 0; c < tileColumns; ++c) sums[r][c] = Vector::multiplyAdd(row, column[c], sums[r][c]);
      }
    }
    for (std::size_t c = 0; c < tileColumns; ++c)
      Vector::storeSums(out + c * tileRows, sums[0][c], sums[1][c], sums[2][c], sums[3][c]);
  }

  static float distance(const float* a, float scaleA, const float* b, float scaleB, float limit) noexcept {
    constexpr std::size_t part = 64;
    const Float scalesA = Vector::all(scaleA), scalesB = Vector::all(scaleB);
    float total = 0;
    for (std::size_t i = 0; i < spanSize && total <= limit; i += part) {
      Float sums = Vector::zero();
      for (std::size_t k = i; k < i + part; k += Vector::lanes) {
        const Float other = Vector::multiply(Vector::load(b + k), scalesB);
        const Float off = Vector::subtract(Vector::multiply(Vector::load(a + k), scalesA), other);
        sums = Vector::multiplyAdd(off, off, sums);
      }
      total += Vector::sum(sums);
    }
    return total;
  }

  static void project(const float* x, float scale, const float* basis, float* out) noexcept {
    Float sums[basisSize];
    for (Float& sum : sums) sum = Vector::zero();
    const Float scales = Vector::all(scale);
    for (std::size_t i = 0; i < spanSize; i += Vector::lanes) {
      const Float here = Vector::multiply(Vector::load(x + i), scales);
      for (std::size_t k = 0; k < basisSize; ++k)
        sums[k] = Vector::multiplyAdd(here, Vector::load(basis + k * spanSize + i), sums[k]);
    }
    for (std::size_t k = 0; k < basisSize; ++k) out[k] = Vector::sum(sums[k]);
  }

  static constexpr SpanKernels table = {products, distance, project};
};

}  // namespace tervo::dsp
