#pragma once
// Conversion between samples as they stand in files (whole bytes each) and 32-bit floats with full scale 1.0.
//
// Decoding: integers are divided by half their range, exactly; what has more than 24 significant bits is rounded to the
// nearest float. Unsigned integers are offset by half their range.
//
// Encoding, with exact arithmetic (no intermediate rounding, so that integers of up to 24 bits survive a round trip):
//   8 and 16 bits   floor(x * half range + 0.5), that is half up
//   24 and 32 bits  floor(x * half range)
// then clipped to the range. NaN becomes silence. Floats are stored as they are.
//
// The kernels exist once for every instruction set; the best one that the machine has is chosen at the first call, and
// all give the same bits.

#include <cstddef>
#include <cstdint>
#include <span>

#include "base/endian.h"

namespace tervo::dsp {

enum class SampleWord : uint8_t {
  s8,
  u8,
  s16,
  u16,
  s24,
  u24,
  s32,
  u32,
  f32,
  f64,
  s24in32  ///< 24 bits in the top of four bytes; decodes as s32
};
inline constexpr std::size_t sampleWordCount = 11;

std::size_t bytesOf(SampleWord word) noexcept;

/// Converts as many whole samples as both spans hold and returns their number. Any alignment; the spans must not
/// overlap.
std::size_t decodeSamples(SampleWord word, ByteOrder order, std::span<const std::byte> in,
                          std::span<float> out) noexcept;
std::size_t encodeSamples(SampleWord word, ByteOrder order, std::span<const float> in,
                          std::span<std::byte> out) noexcept;

// For tests and benchmarks: the same kernels for one instruction set.

enum class InstructionSet : uint8_t { scalar, sse2, avx2 };
bool isAvailable(InstructionSet set) noexcept;

struct SampleKernels {
  void (*decode)(const std::byte* in, float* out, std::size_t samples) noexcept;
  void (*encode)(const float* in, std::byte* out, std::size_t samples) noexcept;
};
const SampleKernels& sampleKernels(InstructionSet set, SampleWord word, ByteOrder order) noexcept;

struct ChannelKernels {
  void (*mixToMono)(const float* stereo, float* mono, std::size_t frames) noexcept;
  void (*interleave)(const float* left, const float* right, float* stereo, std::size_t frames) noexcept;
};
const ChannelKernels& channelKernels(InstructionSet set) noexcept;
/// Those of the best instruction set here.
const ChannelKernels& channelKernels() noexcept;

}  // namespace tervo::dsp
