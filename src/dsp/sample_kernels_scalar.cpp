// The reference: one sample at a time, in the words of the definition. The kernels of the instruction sets are held to
// these by a test, and finish with them what does not fill a vector.

#include <bit>

#include "dsp/kernel_table.h"

namespace tervo::dsp {
namespace {

template <std::size_t bytes, ByteOrder order>
uint64_t load(const std::byte* in) {
  uint64_t value = 0;
  for (std::size_t i = 0; i < bytes; ++i) {
    const std::size_t place = order == ByteOrder::little ? i : bytes - 1 - i;
    value |= std::to_integer<uint64_t>(in[place]) << (8 * i);
  }
  return value;
}

template <std::size_t bytes, ByteOrder order>
void store(std::byte* out, uint64_t value) {
  for (std::size_t i = 0; i < bytes; ++i) {
    const std::size_t place = order == ByteOrder::little ? i : bytes - 1 - i;
    out[place] = static_cast<std::byte>(value >> (8 * i));
  }
}

template <SampleWord word>
float toFloat(uint64_t stored) {
  if constexpr (word == SampleWord::f32) return std::bit_cast<float>(static_cast<uint32_t>(stored));
  if constexpr (word == SampleWord::f64) return static_cast<float>(std::bit_cast<double>(stored));
  auto top = static_cast<uint32_t>(stored << (32 - 8 * sampleWordBytes(word) % 64));
  if constexpr (isUnsigned(word)) top ^= 0x80000000u;
  return static_cast<float>(static_cast<int32_t>(top)) * 0x1p-31f;
}

constexpr int significantBits(SampleWord word) {
  return word == SampleWord::s24in32 ? 24 : static_cast<int>(8 * sampleWordBytes(word));
}

/// A double holds scaled floats, and their sum with a half, without rounding wherever the integer part depends on it.
template <int bits>
int32_t quantise(float x) {
  constexpr double fullScale = static_cast<double>(uint64_t{1} << (bits - 1));
  constexpr double bias = bits <= 16 ? 0.5 : 0.0;
  if (x != x) return 0;
  double scaled = static_cast<double>(x) * fullScale;
  scaled = scaled < -fullScale ? -fullScale : scaled;
  scaled = scaled > fullScale - 1 ? fullScale - 1 : scaled;
  scaled += bias;
  const auto truncated = static_cast<int32_t>(scaled);
  return truncated - (static_cast<double>(truncated) > scaled ? 1 : 0);
}

template <SampleWord word>
uint64_t fromFloat(float x) {
  if constexpr (word == SampleWord::f32) return std::bit_cast<uint32_t>(x);
  if constexpr (word == SampleWord::f64) return std::bit_cast<uint64_t>(static_cast<double>(x));
  constexpr int bits = significantBits(word);
  auto value = static_cast<uint32_t>(quantise<bits>(x));
  if constexpr (isUnsigned(word)) value ^= 1u << (bits - 1);
  return word == SampleWord::s24in32 ? value << 8 : value;
}

struct Scalar {
  template <SampleWord word, ByteOrder order>
  static void decode(const std::byte* in, float* out, std::size_t samples) noexcept {
    constexpr std::size_t bytes = sampleWordBytes(word);
    for (std::size_t i = 0; i < samples; ++i) out[i] = toFloat<word>(load<bytes, order>(in + i * bytes));
  }
  template <SampleWord word, ByteOrder order>
  static void encode(const float* in, std::byte* out, std::size_t samples) noexcept {
    constexpr std::size_t bytes = sampleWordBytes(word);
    for (std::size_t i = 0; i < samples; ++i) store<bytes, order>(out + i * bytes, fromFloat<word>(in[i]));
  }
  static void mixToMono(const float* stereo, float* mono, std::size_t frames) noexcept {
    for (std::size_t i = 0; i < frames; ++i) mono[i] = (stereo[2 * i] + stereo[2 * i + 1]) * 0.5f;
  }
  static void interleave(const float* left, const float* right, float* stereo, std::size_t frames) noexcept {
    for (std::size_t i = 0; i < frames; ++i) {
      stereo[2 * i] = left[i];
      stereo[2 * i + 1] = right[i];
    }
  }
};

}  // namespace

constinit const KernelTable scalarKernels = makeKernelTable<Scalar>();

}  // namespace tervo::dsp
