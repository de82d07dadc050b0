#include "audio/engine/voice_kernel_vector.h"

#if defined(__x86_64__)
#include <emmintrin.h>

namespace tervo::audio {
namespace {

/// Eight lanes in two registers.
struct Sse2Vector {
  __m128 low, high;

  static Sse2Vector of(float x) noexcept { return {_mm_set1_ps(x), _mm_set1_ps(x)}; }
  static Sse2Vector load(const float* from) noexcept { return {_mm_load_ps(from), _mm_load_ps(from + 4)}; }
  void store(float* to) const noexcept {
    _mm_store_ps(to, low);
    _mm_store_ps(to + 4, high);
  }
  friend Sse2Vector operator+(Sse2Vector a, Sse2Vector b) noexcept {
    return {_mm_add_ps(a.low, b.low), _mm_add_ps(a.high, b.high)};
  }
  friend Sse2Vector operator-(Sse2Vector a, Sse2Vector b) noexcept {
    return {_mm_sub_ps(a.low, b.low), _mm_sub_ps(a.high, b.high)};
  }
  friend Sse2Vector operator*(Sse2Vector a, Sse2Vector b) noexcept {
    return {_mm_mul_ps(a.low, b.low), _mm_mul_ps(a.high, b.high)};
  }

  static __m128i loadInts(const uint32_t* from) noexcept {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
  }
  static void positions(const uint32_t* phases, const uint32_t* increments, uint32_t (&index)[blockFrames][lanes],
                        float (&fraction)[blockFrames][lanes]) noexcept {
    const __m128i mask = _mm_set1_epi32(static_cast<int>(fixedOne) - 1);
    const __m128 scale = _mm_set1_ps(1.0f / static_cast<float>(fixedOne));
    for (std::size_t half = 0; half < lanes; half += 4) {
      __m128i phase = loadInts(phases + half);
      const __m128i increment = loadInts(increments + half);
      for (std::size_t n = 0; n < blockFrames; ++n) {
        _mm_store_si128(reinterpret_cast<__m128i*>(index[n] + half), _mm_srli_epi32(phase, fixedBits));
        _mm_store_ps(fraction[n] + half, _mm_mul_ps(_mm_cvtepi32_ps(_mm_and_si128(phase, mask)), scale));
        phase = _mm_add_epi32(phase, increment);
      }
    }
  }

  static void tapsOfFour(const float* const* window, const uint32_t* index, __m128& p0, __m128& p1, __m128& p2,
                         __m128& p3) noexcept {
    p0 = _mm_loadu_ps(window[0] + index[0]);
    p1 = _mm_loadu_ps(window[1] + index[1]);
    p2 = _mm_loadu_ps(window[2] + index[2]);
    p3 = _mm_loadu_ps(window[3] + index[3]);
    _MM_TRANSPOSE4_PS(p0, p1, p2, p3);
  }
  static void taps(const float* const* window, const uint32_t* index, Sse2Vector& p0, Sse2Vector& p1, Sse2Vector& p2,
                   Sse2Vector& p3) noexcept {
    tapsOfFour(window, index, p0.low, p1.low, p2.low, p3.low);
    tapsOfFour(window + 4, index + 4, p0.high, p1.high, p2.high, p3.high);
  }
};

}  // namespace

void renderLanesSse2(LaneBundle& bundle, LaneSums& sums) noexcept {
  VectorKernel<Sse2Vector>::render(bundle, sums);
}

}  // namespace tervo::audio
#endif
