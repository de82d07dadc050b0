// The kernels over spans for AVX2 with FMA. Called only where the processor has both.
#if defined(__AVX2__)

#include <immintrin.h>

#include "dsp/span_kernels_vector.h"

namespace tervo::dsp {
namespace {

struct Avx2 {
  using Float = __m256;
  static constexpr std::size_t lanes = 8;

  static Float zero() { return _mm256_setzero_ps(); }
  static Float all(float x) { return _mm256_set1_ps(x); }
  static Float load(const float* in) { return _mm256_loadu_ps(in); }
  static Float subtract(Float a, Float b) { return _mm256_sub_ps(a, b); }
  static Float multiply(Float a, Float b) { return _mm256_mul_ps(a, b); }
  static Float multiplyAdd(Float a, Float b, Float sum) { return _mm256_fmadd_ps(a, b, sum); }
  static float sum(Float a) {
    const __m128 halves = _mm_add_ps(_mm256_castps256_ps128(a), _mm256_extractf128_ps(a, 1));
    const __m128 pairs = _mm_add_ps(halves, _mm_movehl_ps(halves, halves));
    return _mm_cvtss_f32(_mm_add_ss(pairs, _mm_shuffle_ps(pairs, pairs, 1)));
  }
  static uint32_t notLess(Float a, Float b) {
    return static_cast<uint32_t>(_mm256_movemask_ps(_mm256_cmp_ps(a, b, _CMP_GE_OQ)));
  }
};

}  // namespace

const SpanKernels avx2SpanKernels = SpanKernelsOf<Avx2>::table;

}  // namespace tervo::dsp

#endif
