#pragma once
// The kernels over spans for vectors of any width. `Vector` has Float, lanes, zero, all, load, subtract, multiply,
// multiplyAdd(a, b, sum), sum and notLess(a, b), which has a bit for each lane.

#include "dsp/span_kernels.h"

namespace tervo::dsp {

extern const SpanKernels scalarSpanKernels;
extern const SpanKernels sse2SpanKernels;
extern const SpanKernels avx2SpanKernels;

template <typename Vector>
struct SpanKernelsOf {
  using Float = typename Vector::Float;
  static constexpr std::size_t vectors = 8;  ///< of sums that are kept in registers, and hide each other's latency

  static void productsByLag(const LagProducts& of, uint64_t* hits) noexcept {
    constexpr std::size_t half = spanSize / 2;
    Float sums[vectors];
    const auto add = [&](std::size_t frame, float factor) {
      const Float here = Vector::all(factor);
      for (std::size_t v = 0; v < vectors; ++v)
        sums[v] = Vector::multiplyAdd(here, Vector::load(of.x + frame + of.lag + v * Vector::lanes), sums[v]);
    };
    for (Float& sum : sums) sum = Vector::zero();
    std::size_t at = of.starts[0].position;
    for (std::size_t i = at - half; i < at + half; ++i) add(i, of.x[i]);
    for (std::size_t s = 0; s < of.count; ++s) {
      const LagStart& start = of.starts[s];
      for (; at < start.position; ++at) {
        add(at + half, of.x[at + half]);
        add(at - half, -of.x[at - half]);
      }
      const Float needed = Vector::all(start.length * of.score), error = Vector::all(-of.error);
      const float* lengths = start.lengths + start.position + of.lag;
      hits[s] = 0;
      for (std::size_t v = 0; v < vectors; ++v) {
        const Float limit = Vector::multiplyAdd(needed, Vector::load(lengths + v * Vector::lanes), error);
        hits[s] |= uint64_t{Vector::notLess(sums[v], limit)} << (v * Vector::lanes);
      }
    }
  }

  template <std::size_t size>
  static uint64_t probe(const float* frames, const float* other, const float* lengths, float factor) noexcept {
    Float sums[vectors];
    for (Float& sum : sums) sum = Vector::zero();
    for (std::size_t i = 0; i < size; ++i) {
      const Float here = Vector::all(frames[i]);
      for (std::size_t v = 0; v < vectors; ++v)
        sums[v] = Vector::multiplyAdd(here, Vector::load(other + i + v * Vector::lanes), sums[v]);
    }
    const Float factors = Vector::all(factor);
    uint64_t hits = 0;
    for (std::size_t v = 0; v < vectors; ++v) {
      const Float limit = Vector::multiply(factors, Vector::load(lengths + v * Vector::lanes));
      hits |= uint64_t{Vector::notLess(sums[v], limit)} << (v * Vector::lanes);
    }
    return hits;
  }

  static void squares(const float* a, const float* b, float ratio, std::size_t parts, float* sums) noexcept {
    const Float ratios = Vector::all(ratio);
    for (std::size_t part = 0; part < parts; ++part, a += partSize, b += partSize) {
      Float sum = Vector::zero();
      for (std::size_t k = 0; k < partSize; k += Vector::lanes) {
        const Float off = Vector::subtract(Vector::load(a + k), Vector::multiply(Vector::load(b + k), ratios));
        sum = Vector::multiplyAdd(off, off, sum);
      }
      sums[part] = Vector::sum(sum);
    }
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

  static double exactDistance(const float* a, double scaleA, const float* b, double scaleB, double limit) noexcept {
    constexpr std::size_t part = 32, lanes = 8;
    double total = 0;
    for (std::size_t i = 0; i < spanSize && total <= limit; i += part) {
      double sums[lanes] = {};  // for the compiler to make vectors of
      for (std::size_t k = i; k < i + part; k += lanes) {
        for (std::size_t lane = 0; lane < lanes; ++lane) {
          const double off = double{a[k + lane]} * scaleA - double{b[k + lane]} * scaleB;
          sums[lane] += off * off;
        }
      }
      total += ((sums[0] + sums[1]) + (sums[2] + sums[3])) + ((sums[4] + sums[5]) + (sums[6] + sums[7]));
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

  static void products(const float* a, const float* b, std::size_t count, double* out) noexcept {
    constexpr std::size_t lanes = 8;  // for the compiler to make vectors of
    for (std::size_t i = 0; i < count; i += lanes)
      for (std::size_t k = i; k < i + lanes; ++k) out[k] = double{a[k]} * double{b[k]};
  }

  static constexpr SpanKernels table = {vectors * Vector::lanes, productsByLag, probe<probeSize>,
                                        probe<glanceSize>,       squares,       distance,
                                        exactDistance,           project,       products};
};

}  // namespace tervo::dsp
