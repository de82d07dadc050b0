#include "audio/engine/voice_kernel_vector.h"

#if defined(__AVX2__)
#include <immintrin.h>

namespace tervo::audio {
namespace {

struct Avx2Vector {
  __m256 v;

  static Avx2Vector of(float x) noexcept { return {_mm256_set1_ps(x)}; }
  static Avx2Vector load(const float* from) noexcept { return {_mm256_load_ps(from)}; }
  void store(float* to) const noexcept { _mm256_store_ps(to, v); }
  friend Avx2Vector operator+(Avx2Vector a, Avx2Vector b) noexcept { return {_mm256_add_ps(a.v, b.v)}; }
  friend Avx2Vector operator-(Avx2Vector a, Avx2Vector b) noexcept { return {_mm256_sub_ps(a.v, b.v)}; }
  friend Avx2Vector operator*(Avx2Vector a, Avx2Vector b) noexcept { return {_mm256_mul_ps(a.v, b.v)}; }

  static void positions(const uint32_t* phases, const uint32_t* increments, uint32_t (&index)[blockFrames][lanes],
                        float (&fraction)[blockFrames][lanes]) noexcept {
    const __m256i mask = _mm256_set1_epi32(static_cast<int>(fixedOne) - 1);
    const __m256 scale = _mm256_set1_ps(1.0f / static_cast<float>(fixedOne));
    __m256i phase = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(phases));
    const __m256i increment = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(increments));
    for (int n = 0; n < blockFrames; ++n) {
      _mm256_store_si256(reinterpret_cast<__m256i*>(index[n]), _mm256_srli_epi32(phase, fixedBits));
      _mm256_store_ps(fraction[n], _mm256_mul_ps(_mm256_cvtepi32_ps(_mm256_and_si256(phase, mask)), scale));
      phase = _mm256_add_epi32(phase, increment);
    }
  }

  /// The taps of lanes i and i + 4, one after another.
  static __m256 tapsOfTwo(const float* const* window, const uint32_t* index, std::size_t i) noexcept {
    return _mm256_insertf128_ps(_mm256_castps128_ps256(_mm_loadu_ps(window[i] + index[i])),
                                _mm_loadu_ps(window[i + 4] + index[i + 4]), 1);
  }
  static void taps(const float* const* window, const uint32_t* index, Avx2Vector& p0, Avx2Vector& p1, Avx2Vector& p2,
                   Avx2Vector& p3) noexcept {
    const __m256 a = tapsOfTwo(window, index, 0), b = tapsOfTwo(window, index, 1);
    const __m256 c = tapsOfTwo(window, index, 2), d = tapsOfTwo(window, index, 3);
    const __m256 abLow = _mm256_unpacklo_ps(a, b), abHigh = _mm256_unpackhi_ps(a, b);
    const __m256 cdLow = _mm256_unpacklo_ps(c, d), cdHigh = _mm256_unpackhi_ps(c, d);
    p0.v = _mm256_shuffle_ps(abLow, cdLow, 0x44);
    p1.v = _mm256_shuffle_ps(abLow, cdLow, 0xEE);
    p2.v = _mm256_shuffle_ps(abHigh, cdHigh, 0x44);
    p3.v = _mm256_shuffle_ps(abHigh, cdHigh, 0xEE);
  }
};

}  // namespace

void renderLanesAvx2(LaneBundle& bundle, LaneSums& sums) noexcept {
  VectorKernel<Avx2Vector>::render(bundle, sums);
}

}  // namespace tervo::audio
#endif
