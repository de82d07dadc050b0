// The kernels over spans for SSE2, which every x86-64 processor has.
#if defined(__SSE2__)

#include <emmintrin.h>

#include "dsp/span_kernels_vector.h"

namespace tervo::dsp {
namespace {

struct Sse2 {
  using Float = __m128;
  static constexpr std::size_t lanes = 4;

  static Float zero() { return _mm_setzero_ps(); }
  static Float all(float x) { return _mm_set1_ps(x); }
  static Float load(const float* in) { return _mm_loadu_ps(in); }
  static Float subtract(Float a, Float b) { return _mm_sub_ps(a, b); }
  static Float multiply(Float a, Float b) { return _mm_mul_ps(a, b); }
  static Float multiplyAdd(Float a, Float b, Float sum) { return _mm_add_ps(_mm_mul_ps(a, b), sum); }
  static float sum(Float a) {
    const Float pairs = _mm_add_ps(a, _mm_movehl_ps(a, a));
    return _mm_cvtss_f32(_mm_add_ss(pairs, _mm_shuffle_ps(pairs, pairs, 1)));
  }
  static uint32_t notLess(Float a, Float b) { return static_cast<uint32_t>(_mm_movemask_ps(_mm_cmpge_ps(a, b))); }
};

}  // namespace

const SpanKernels sse2SpanKernels = SpanKernelsOf<Sse2>::table;

}  // namespace tervo::dsp

#endif
