// The kernels for AVX2. Called only where the processor has it.
#if defined(__AVX2__)

#include <immintrin.h>

#include "dsp/sample_kernels_vector.h"

namespace tervo::dsp {
namespace {

/// For _mm256_shuffle_epi8: which byte goes where in each half.
struct Shuffle {
  alignas(32) int8_t places[32];
  __m256i vector() const { return _mm256_load_si256(reinterpret_cast<const __m256i*>(places)); }
};

/// Stored integers into the top of 32-bit lanes, the lowest bytes zero. The lower half begins at byte 0 of its source,
/// the upper half at byte `upper`.
constexpr Shuffle spread(int bytes, ByteOrder order, int upper) {
  Shuffle shuffle{};
  for (int i = 0; i < 32; ++i) {
    const int lane = i % 16 / 4;
    const int significance = i % 4 - (4 - bytes);  // 0: the least significant stored byte
    const int place = order == ByteOrder::little ? significance : bytes - 1 - significance;
    shuffle.places[i] = static_cast<int8_t>(significance < 0 ? -1 : (i < 16 ? 0 : upper) + lane * bytes + place);
  }
  return shuffle;
}

/// The low `bytes` bytes of each 32-bit lane, together at the beginning of each half.
constexpr Shuffle pack(int bytes, ByteOrder order) {
  Shuffle shuffle{};
  for (int i = 0; i < 32; ++i) {
    const int lane = i % 16 / bytes;
    const int place = i % 16 % bytes;
    const int significance = order == ByteOrder::little ? place : bytes - 1 - place;
    shuffle.places[i] = static_cast<int8_t>(lane < 4 ? 4 * lane + significance : -1);
  }
  return shuffle;
}

constexpr Shuffle reverse(int bytes) {
  Shuffle shuffle{};
  for (int i = 0; i < 32; ++i) shuffle.places[i] = static_cast<int8_t>(i % 16 / bytes * bytes + bytes - 1 - i % bytes);
  return shuffle;
}

struct Avx2 {
  using Int = __m256i;
  using Float = __m256;
  static constexpr std::size_t lanes = 8;

  static Int loadInts(const void* in) { return _mm256_loadu_si256(static_cast<const __m256i*>(in)); }
  static void storeInts(void* out, Int x) { _mm256_storeu_si256(static_cast<__m256i*>(out), x); }
  static Float loadFloats(const float* in) { return _mm256_loadu_ps(in); }
  static void storeFloats(float* out, Float x) { _mm256_storeu_ps(out, x); }
  static Float floats(float x) { return _mm256_set1_ps(x); }
  static Int ints(int32_t x) { return _mm256_set1_epi32(x); }

  static Float add(Float a, Float b) { return _mm256_add_ps(a, b); }
  static Float sub(Float a, Float b) { return _mm256_sub_ps(a, b); }
  static Float mul(Float a, Float b) { return _mm256_mul_ps(a, b); }
  static Float min(Float a, Float b) { return _mm256_min_ps(a, b); }
  static Float max(Float a, Float b) { return _mm256_max_ps(a, b); }
  static Float both(Float a, Float b) { return _mm256_and_ps(a, b); }
  static Float less(Float a, Float b) { return _mm256_cmp_ps(a, b, _CMP_LT_OQ); }
  static Float lessOrEqual(Float a, Float b) { return _mm256_cmp_ps(a, b, _CMP_LE_OQ); }
  static Float ordered(Float x) { return _mm256_cmp_ps(x, x, _CMP_ORD_Q); }
  static Int add(Int a, Int b) { return _mm256_add_epi32(a, b); }
  static Int sub(Int a, Int b) { return _mm256_sub_epi32(a, b); }
  static Int flip(Int x, Int mask) { return _mm256_xor_si256(x, mask); }
  template <int count>
  static Int shiftLeft(Int x) {
    return _mm256_slli_epi32(x, count);
  }
  static Int cast(Float x) { return _mm256_castps_si256(x); }
  static Int round(Float x) { return _mm256_cvtps_epi32(x); }
  static Int truncate(Float x) { return _mm256_cvttps_epi32(x); }
  static Float toFloat(Int x) { return _mm256_cvtepi32_ps(x); }
  static Int swap32(Int x) { return swap<4>(x); }

  template <ByteOrder order>
  static Float loadDoubles(const std::byte* in) {
    Int low = loadInts(in);
    Int high = loadInts(in + 32);
    if constexpr (order == ByteOrder::big) low = swap<8>(low), high = swap<8>(high);
    return _mm256_set_m128(_mm256_cvtpd_ps(_mm256_castsi256_pd(high)), _mm256_cvtpd_ps(_mm256_castsi256_pd(low)));
  }
  template <ByteOrder order>
  static void storeDoubles(std::byte* out, Float x) {
    Int low = _mm256_castpd_si256(_mm256_cvtps_pd(_mm256_castps256_ps128(x)));
    Int high = _mm256_castpd_si256(_mm256_cvtps_pd(_mm256_extractf128_ps(x, 1)));
    if constexpr (order == ByteOrder::big) low = swap<8>(low), high = swap<8>(high);
    storeInts(out, low);
    storeInts(out + 32, high);
  }

  static void split(Float a, Float b, Float& even, Float& odd) {
    const Float low = _mm256_permute2f128_ps(a, b, 0x20);
    const Float high = _mm256_permute2f128_ps(a, b, 0x31);
    even = _mm256_shuffle_ps(low, high, _MM_SHUFFLE(2, 0, 2, 0));
    odd = _mm256_shuffle_ps(low, high, _MM_SHUFFLE(3, 1, 3, 1));
  }
  static void join(Float even, Float odd, Float& low, Float& high) {
    const Float a = _mm256_unpacklo_ps(even, odd);
    const Float b = _mm256_unpackhi_ps(even, odd);
    low = _mm256_permute2f128_ps(a, b, 0x20);
    high = _mm256_permute2f128_ps(a, b, 0x31);
  }

  template <std::size_t bytes, ByteOrder order>
  static void load(const std::byte* in, Int (&out)[2]) {
    for (std::size_t v = 0; v < 2; ++v) {
      const std::byte* from = in + v * lanes * bytes;
      if constexpr (bytes == 4) {
        out[v] = order == ByteOrder::big ? swap32(loadInts(from)) : loadInts(from);
      } else {
        // Eight samples of three bytes overlap in the middle, so that nothing behind them is touched.
        constexpr int upper = bytes == 3 ? 4 : 4 * static_cast<int>(bytes);
        static constexpr Shuffle places = spread(static_cast<int>(bytes), order, upper);
        out[v] = _mm256_shuffle_epi8(loadEight<bytes>(from), places.vector());
      }
    }
  }

  template <std::size_t bytes, ByteOrder order, bool sign>
  static void store(std::byte* out, const Int (&in)[2]) {
    if constexpr (bytes <= 2) {
      Int words = _mm256_permute4x64_epi64(_mm256_packs_epi32(in[0], in[1]), _MM_SHUFFLE(3, 1, 2, 0));
      if constexpr (bytes == 2) {
        if constexpr (sign) words = flip(words, _mm256_set1_epi16(-32768));
        storeInts(out, order == ByteOrder::big ? swap<2>(words) : words);
      } else {
        const __m128i x = _mm_packs_epi16(_mm256_castsi256_si128(words), _mm256_extracti128_si256(words, 1));
        storeHalf(out, sign ? _mm_xor_si128(x, _mm_set1_epi8(-128)) : x);
      }
    } else {
      for (std::size_t v = 0; v < 2; ++v) {
        const Int x = sign ? flip(in[v], ints(bytes == 3 ? 0x800000 : INT32_MIN)) : in[v];
        std::byte* to = out + v * lanes * bytes;
        if constexpr (bytes == 3) {
          store24<order>(to, x);
        } else {
          storeInts(to, order == ByteOrder::big ? swap32(x) : x);
        }
      }
    }
  }

 private:
  template <int bytes>
  static Int swap(Int x) {
    static constexpr Shuffle places = reverse(bytes);
    return _mm256_shuffle_epi8(x, places.vector());
  }

  static __m128i loadHalf(const std::byte* in) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(in)); }
  static void storeHalf(std::byte* out, __m128i x) { _mm_storeu_si128(reinterpret_cast<__m128i*>(out), x); }

  /// The bytes of eight samples: in both halves, or with three bytes each the first and the last sixteen.
  template <std::size_t bytes>
  static Int loadEight(const std::byte* in) {
    if constexpr (bytes == 1) return _mm256_broadcastq_epi64(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(in)));
    if constexpr (bytes == 2) return _mm256_broadcastsi128_si256(loadHalf(in));
    return _mm256_inserti128_si256(_mm256_castsi128_si256(loadHalf(in)), loadHalf(in + 8), 1);
  }

  template <ByteOrder order>
  static void store24(std::byte* out, Int x) {
    static constexpr Shuffle places = pack(3, order);
    const Int halves = _mm256_shuffle_epi8(x, places.vector());
    const Int packed = _mm256_permutevar8x32_epi32(halves, _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 3, 7));
    storeHalf(out, _mm256_castsi256_si128(packed));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(out + 16), _mm256_extracti128_si256(packed, 1));
  }
};

}  // namespace

constinit const KernelTable avx2Kernels = makeKernelTable<VectorKernels<Avx2>>();

}  // namespace tervo::dsp

#endif
