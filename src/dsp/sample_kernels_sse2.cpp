// The kernels for SSE2, which every 64-bit x86 processor has.
#if defined(__SSE2__)

#include <emmintrin.h>

#include "dsp/sample_kernels_vector.h"

namespace tervo::dsp {
namespace {

struct Sse2 {
  using Int = __m128i;
  using Float = __m128;
  static constexpr std::size_t lanes = 4;

  static Int loadInts(const void* in) { return _mm_loadu_si128(static_cast<const __m128i*>(in)); }
  static void storeInts(void* out, Int x) { _mm_storeu_si128(static_cast<__m128i*>(out), x); }
  static Float loadFloats(const float* in) { return _mm_loadu_ps(in); }
  static void storeFloats(float* out, Float x) { _mm_storeu_ps(out, x); }
  static Float floats(float x) { return _mm_set1_ps(x); }
  static Int ints(int32_t x) { return _mm_set1_epi32(x); }

  static Float add(Float a, Float b) { return _mm_add_ps(a, b); }
  static Float sub(Float a, Float b) { return _mm_sub_ps(a, b); }
  static Float mul(Float a, Float b) { return _mm_mul_ps(a, b); }
  static Float min(Float a, Float b) { return _mm_min_ps(a, b); }
  static Float max(Float a, Float b) { return _mm_max_ps(a, b); }
  static Float both(Float a, Float b) { return _mm_and_ps(a, b); }
  static Float less(Float a, Float b) { return _mm_cmplt_ps(a, b); }
  static Float lessOrEqual(Float a, Float b) { return _mm_cmple_ps(a, b); }
  static Float ordered(Float x) { return _mm_cmpord_ps(x, x); }
  static Int add(Int a, Int b) { return _mm_add_epi32(a, b); }
  static Int sub(Int a, Int b) { return _mm_sub_epi32(a, b); }
  static Int flip(Int x, Int mask) { return _mm_xor_si128(x, mask); }
  template <int count>
  static Int shiftLeft(Int x) {
    return _mm_slli_epi32(x, count);
  }
  static Int cast(Float x) { return _mm_castps_si128(x); }
  static Int round(Float x) { return _mm_cvtps_epi32(x); }
  static Int truncate(Float x) { return _mm_cvttps_epi32(x); }
  static Float toFloat(Int x) { return _mm_cvtepi32_ps(x); }

  static Int swap16(Int x) { return _mm_or_si128(_mm_slli_epi16(x, 8), _mm_srli_epi16(x, 8)); }
  static Int swap32(Int x) {
    x = _mm_shufflelo_epi16(swap16(x), _MM_SHUFFLE(2, 3, 0, 1));
    return _mm_shufflehi_epi16(x, _MM_SHUFFLE(2, 3, 0, 1));
  }
  static Int swap64(Int x) { return _mm_shuffle_epi32(swap32(x), _MM_SHUFFLE(2, 3, 0, 1)); }

  template <ByteOrder order>
  static Float loadDoubles(const std::byte* in) {
    Int low = loadInts(in);
    Int high = loadInts(in + 16);
    if constexpr (order == ByteOrder::big) low = swap64(low), high = swap64(high);
    return _mm_movelh_ps(_mm_cvtpd_ps(_mm_castsi128_pd(low)), _mm_cvtpd_ps(_mm_castsi128_pd(high)));
  }
  template <ByteOrder order>
  static void storeDoubles(std::byte* out, Float x) {
    Int low = _mm_castpd_si128(_mm_cvtps_pd(x));
    Int high = _mm_castpd_si128(_mm_cvtps_pd(_mm_movehl_ps(x, x)));
    if constexpr (order == ByteOrder::big) low = swap64(low), high = swap64(high);
    storeInts(out, low);
    storeInts(out + 16, high);
  }

  static void split(Float a, Float b, Float& even, Float& odd) {
    even = _mm_shuffle_ps(a, b, _MM_SHUFFLE(2, 0, 2, 0));
    odd = _mm_shuffle_ps(a, b, _MM_SHUFFLE(3, 1, 3, 1));
  }
  static void join(Float even, Float odd, Float& low, Float& high) {
    low = _mm_unpacklo_ps(even, odd);
    high = _mm_unpackhi_ps(even, odd);
  }

  template <std::size_t bytes, ByteOrder order>
  static void load(const std::byte* in, Int (&out)[4]) {
    if constexpr (bytes == 1) {
      const Int zero = _mm_setzero_si128();
      const Int x = loadInts(in);
      widen16(_mm_unpacklo_epi8(zero, x), out[0], out[1]);
      widen16(_mm_unpackhi_epi8(zero, x), out[2], out[3]);
    } else if constexpr (bytes == 2) {
      const Int low = loadInts(in);
      const Int high = loadInts(in + 16);
      widen16(order == ByteOrder::big ? swap16(low) : low, out[0], out[1]);
      widen16(order == ByteOrder::big ? swap16(high) : high, out[2], out[3]);
    } else if constexpr (bytes == 3) {
      const Int a = loadInts(in);
      const Int b = loadInts(in + 16);
      const Int c = loadInts(in + 32);
      out[0] = spread24<order>(a);
      out[1] = spread24<order>(_mm_or_si128(_mm_srli_si128(a, 12), _mm_slli_si128(b, 4)));
      out[2] = spread24<order>(_mm_or_si128(_mm_srli_si128(b, 8), _mm_slli_si128(c, 8)));
      out[3] = spread24<order>(_mm_srli_si128(c, 4));
    } else {
      for (int v = 0; v < 4; ++v) {
        const Int x = loadInts(in + 16 * v);
        out[v] = order == ByteOrder::big ? swap32(x) : x;
      }
    }
  }

  template <std::size_t bytes, ByteOrder order, bool sign>
  static void store(std::byte* out, const Int (&in)[4]) {
    if constexpr (bytes == 1) {
      const Int packed = _mm_packs_epi16(_mm_packs_epi32(in[0], in[1]), _mm_packs_epi32(in[2], in[3]));
      storeInts(out, sign ? flip(packed, _mm_set1_epi8(-128)) : packed);
    } else if constexpr (bytes == 2) {
      for (int v = 0; v < 2; ++v) {
        Int packed = _mm_packs_epi32(in[2 * v], in[2 * v + 1]);
        if constexpr (sign) packed = flip(packed, _mm_set1_epi16(-32768));
        storeInts(out + 16 * v, order == ByteOrder::big ? swap16(packed) : packed);
      }
    } else if constexpr (bytes == 3) {
      Int x[4];
      for (int v = 0; v < 4; ++v) x[v] = pack24<order>(sign ? flip(in[v], ints(0x800000)) : in[v]);
      storeInts(out, _mm_or_si128(x[0], _mm_slli_si128(x[1], 12)));
      storeInts(out + 16, _mm_or_si128(_mm_srli_si128(x[1], 4), _mm_slli_si128(x[2], 8)));
      storeInts(out + 32, _mm_or_si128(_mm_srli_si128(x[2], 8), _mm_slli_si128(x[3], 4)));
    } else {
      for (int v = 0; v < 4; ++v) {
        const Int x = sign ? flip(in[v], ints(INT32_MIN)) : in[v];
        storeInts(out + 16 * v, order == ByteOrder::big ? swap32(x) : x);
      }
    }
  }

 private:
  /// Eight 16-bit values, each into the top half of a lane.
  static void widen16(Int x, Int& low, Int& high) {
    low = _mm_unpacklo_epi16(_mm_setzero_si128(), x);
    high = _mm_unpackhi_epi16(_mm_setzero_si128(), x);
  }

  /// The first twelve bytes, three into the top of each lane.
  template <ByteOrder order>
  static Int spread24(Int x) {
    const Int pairs = _mm_unpacklo_epi64(x, _mm_srli_si128(x, 6));  // two samples in the low six bytes of each half
    const Int first = _mm_and_si128(pairs, _mm_set1_epi64x(0x00FFFFFF));
    const Int second = _mm_and_si128(_mm_slli_epi64(pairs, 8), _mm_set1_epi64x(0x00FFFFFF00000000));
    const Int spread = _mm_or_si128(first, second);
    return order == ByteOrder::big ? swap32(spread) : _mm_slli_epi32(spread, 8);
  }

  /// The low three bytes of each lane, together in the first twelve; zeros behind them.
  template <ByteOrder order>
  static Int pack24(Int x) {
    if constexpr (order == ByteOrder::big) x = _mm_srli_epi32(swap32(x), 8);
    const Int first = _mm_and_si128(x, _mm_set1_epi64x(0x00FFFFFF));
    const Int second = _mm_and_si128(x, _mm_set1_epi64x(0x00FFFFFF00000000));
    const Int pairs = _mm_or_si128(first, _mm_srli_epi64(second, 8));
    return _mm_or_si128(_mm_move_epi64(pairs), _mm_slli_si128(_mm_srli_si128(pairs, 8), 6));
  }
};

}  // namespace

constinit const KernelTable sse2Kernels = makeKernelTable<VectorKernels<Sse2>>();

}  // namespace tervo::dsp

#endif
