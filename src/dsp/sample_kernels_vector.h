#pragma once
// The kernels in terms of a few vector operations, compiled once for each instruction set. `Set` offers:
//
//   Int, Float, lanes               32-bit integer and float vectors and their width
//   loadFloats, storeFloats, mul, min, max, both (bitwise and), less, ordered, cast, toFloat, round, truncate, add,
//   flip load<bytes, order>(in, ints)    16 stored integers, each in the top bits of a 32-bit lane store<bytes, order,
//   sign>(out, ints)   16 integers that are in range; `sign` true flips their top bit loadDoubles, storeDoubles,
//   swap32, split, join
//
// Only `Set` types of unnamed namespaces may be used, so that every instantiation stays private to its source file.

#include "dsp/kernel_table.h"

namespace tervo::dsp {

template <typename Set>
struct VectorKernels {
  using Int = typename Set::Int;
  using Float = typename Set::Float;
  static constexpr std::size_t block = 16;
  static constexpr std::size_t vectors = block / Set::lanes;

  template <SampleWord word, ByteOrder order>
  static void decode(const std::byte* in, float* out, std::size_t samples) noexcept {
    constexpr std::size_t bytes = sampleWordBytes(word);
    std::size_t i = 0;
    for (; i + block <= samples; i += block) decodeBlock<word, order>(in + i * bytes, out + i);
    scalarKernels.samples[static_cast<std::size_t>(word)][static_cast<std::size_t>(order)].decode(in + i * bytes,
                                                                                                  out + i, samples - i);
  }

  template <SampleWord word, ByteOrder order>
  static void encode(const float* in, std::byte* out, std::size_t samples) noexcept {
    constexpr std::size_t bytes = sampleWordBytes(word);
    std::size_t i = 0;
    for (; i + block <= samples; i += block) encodeBlock<word, order>(in + i, out + i * bytes);
    scalarKernels.samples[static_cast<std::size_t>(word)][static_cast<std::size_t>(order)].encode(
        in + i, out + i * bytes, samples - i);
  }

  static void mixToMono(const float* stereo, float* mono, std::size_t frames) noexcept {
    const Float half = Set::floats(0.5f);
    std::size_t i = 0;
    for (; i + Set::lanes <= frames; i += Set::lanes) {
      Float left, right;
      Set::split(Set::loadFloats(stereo + 2 * i), Set::loadFloats(stereo + 2 * i + Set::lanes), left, right);
      Set::storeFloats(mono + i, Set::mul(Set::add(left, right), half));
    }
    scalarKernels.channels.mixToMono(stereo + 2 * i, mono + i, frames - i);
  }

  static void interleave(const float* left, const float* right, float* stereo, std::size_t frames) noexcept {
    std::size_t i = 0;
    for (; i + Set::lanes <= frames; i += Set::lanes) {
      Float low, high;
      Set::join(Set::loadFloats(left + i), Set::loadFloats(right + i), low, high);
      Set::storeFloats(stereo + 2 * i, low);
      Set::storeFloats(stereo + 2 * i + Set::lanes, high);
    }
    scalarKernels.channels.interleave(left + i, right + i, stereo + 2 * i, frames - i);
  }

 private:
  template <SampleWord word, ByteOrder order>
  static void decodeBlock(const std::byte* in, float* out) {
    if constexpr (word == SampleWord::f32) {
      for (std::size_t v = 0; v < vectors; ++v) copyFloats<order>(in + 4 * v * Set::lanes, out + v * Set::lanes);
    } else if constexpr (word == SampleWord::f64) {
      for (std::size_t v = 0; v < vectors; ++v)
        Set::storeFloats(out + v * Set::lanes, Set::template loadDoubles<order>(in + 8 * v * Set::lanes));
    } else {
      Int ints[vectors];
      Set::template load<sampleWordBytes(word), order>(in, ints);
      const Float scale = Set::floats(0x1p-31f);
      for (std::size_t v = 0; v < vectors; ++v) {
        const Int top = isUnsigned(word) ? Set::flip(ints[v], Set::ints(INT32_MIN)) : ints[v];
        Set::storeFloats(out + v * Set::lanes, Set::mul(Set::toFloat(top), scale));
      }
    }
  }

  template <SampleWord word, ByteOrder order>
  static void encodeBlock(const float* in, std::byte* out) {
    if constexpr (word == SampleWord::f32) {
      for (std::size_t v = 0; v < vectors; ++v) copyFloats<order>(in + v * Set::lanes, out + 4 * v * Set::lanes);
    } else if constexpr (word == SampleWord::f64) {
      for (std::size_t v = 0; v < vectors; ++v)
        Set::template storeDoubles<order>(out + 8 * v * Set::lanes, Set::loadFloats(in + v * Set::lanes));
    } else {
      Int ints[vectors];
      for (std::size_t v = 0; v < vectors; ++v) ints[v] = quantise<word>(Set::loadFloats(in + v * Set::lanes));
      Set::template store<sampleWordBytes(word), order, isUnsigned(word)>(out, ints);
    }
  }

  template <ByteOrder order, typename From, typename To>
  static void copyFloats(const From* in, To* out) {
    const Int bits = Set::loadInts(in);
    Set::storeInts(out, order == ByteOrder::big ? Set::swap32(bits) : bits);
  }

  /// Scaling by a power of two is exact, and so is the difference between a float and the integer that it was rounded
  /// to; that is all the rounding below rests on.
  template <SampleWord word>
  static Int quantise(Float x) {
    if constexpr (sampleWordBytes(word) == 1) return roundHalfUp(x, 0x1p7f);
    if constexpr (sampleWordBytes(word) == 2) return roundHalfUp(x, 0x1p15f);
    if constexpr (sampleWordBytes(word) == 3) return floor(x, 0x1p23f);
    if constexpr (word == SampleWord::s24in32) return Set::template shiftLeft<8>(floor(x, 0x1p23f));
    return floor32(x);
  }

  /// Rounds to the nearest, ties to even as the processor does, and then corrects the ties that went down.
  static Int roundHalfUp(Float x, float fullScale) {
    const Float scaled = clip(silenceForNaN(Set::mul(x, Set::floats(fullScale))), fullScale);
    const Int nearest = Set::round(scaled);
    const Float rest = Set::sub(scaled, Set::toFloat(nearest));
    return Set::sub(nearest, Set::cast(Set::lessOrEqual(Set::floats(0.5f), rest)));
  }

  static Int floor(Float x, float fullScale) {
    return floor(clip(silenceForNaN(Set::mul(x, Set::floats(fullScale))), fullScale));
  }

  /// 2^31 - 1 is no float: what reaches 2^31 truncates to the most negative integer, whose bits are all flipped then.
  static Int floor32(Float x) {
    const Float limit = Set::floats(0x1p31f);
    Float scaled = silenceForNaN(Set::mul(x, limit));
    scaled = Set::max(scaled, Set::floats(-0x1p31f));
    return Set::flip(floor(scaled), Set::cast(Set::lessOrEqual(limit, scaled)));
  }

  static Int floor(Float scaled) {
    const Int truncated = Set::truncate(scaled);
    return Set::add(truncated, Set::cast(Set::less(scaled, Set::toFloat(truncated))));
  }

  static Float silenceForNaN(Float x) { return Set::both(x, Set::ordered(x)); }
  static Float clip(Float x, float fullScale) {
    return Set::min(Set::max(x, Set::floats(-fullScale)), Set::floats(fullScale - 1));
  }
};

}  // namespace tervo::dsp
