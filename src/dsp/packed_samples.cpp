#include "dsp/packed_samples.h"

#include <algorithm>

#include "dsp/sample_kernels.h"

namespace tervo::dsp {
namespace {

constexpr uint32_t topBit = 0x80000000u;

uint32_t signMask(Signedness sign) {
  return sign == Signedness::offset ? topBit : 0;
}

/// A group of two packed samples as one number; the bytes that are missing behind the end count as zero.
uint64_t loadGroup(std::span<const std::byte> in, std::size_t groupBytes, ByteOrder order) {
  uint64_t group = 0;
  for (std::size_t i = 0; i < groupBytes; ++i) {
    const auto byte = i < in.size() ? std::to_integer<uint64_t>(in[i]) : 0;
    group |= byte << (8 * (order == ByteOrder::little ? i : groupBytes - 1 - i));
  }
  return group;
}

unsigned shiftInGroup(unsigned bits, ByteOrder order, std::size_t place) {
  return (place == 0) == (order == ByteOrder::little) ? 0 : bits;
}

/// The sample as the top `bits` bits of 32. The 24- and 32-bit encoders round down and the 16-bit one half up; so do
/// those of 20 and of 12 bits.
uint32_t quantise(float x, unsigned bits) {
  std::byte bytes[4];
  encodeSamples(SampleWord::s32, ByteOrder::little, std::span(&x, 1), bytes);
  int64_t value = static_cast<int32_t>(loadGroup(bytes, 4, ByteOrder::little));
  if (bits == 12) value = std::min<int64_t>(value + (1 << 19), INT32_MAX);
  return static_cast<uint32_t>(value) & (~0u << (32 - bits));
}

}  // namespace

std::size_t decodePacked(int bits, ByteOrder order, Signedness sign, std::span<const std::byte> in, std::size_t skip,
                         std::span<float> out) noexcept {
  const auto width = static_cast<unsigned>(bits);
  const std::size_t groupBytes = width / 4;
  const std::size_t available = in.size() * 8 / width;
  const std::size_t count = std::min(out.size(), available - std::min(available, skip));
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t index = i + skip;
    const uint64_t group = loadGroup(in.subspan(index / 2 * groupBytes), groupBytes, order);
    const auto top = static_cast<uint32_t>(group >> shiftInGroup(width, order, index % 2)) << (32 - width);
    out[i] = static_cast<float>(static_cast<int32_t>(top ^ signMask(sign))) * 0x1p-31f;
  }
  return count;
}

std::size_t encodePacked(int bits, ByteOrder order, Signedness sign, std::span<const float> in,
                         std::span<std::byte> out) noexcept {
  const auto width = static_cast<unsigned>(bits);
  const std::size_t groupBytes = width / 4;
  const std::size_t count = std::min(in.size(), out.size() * 8 / width);
  const std::size_t bytes = (count * width + 7) / 8;
  for (std::size_t first = 0; first < count; first += 2) {
    uint64_t group = 0;
    for (std::size_t place = 0; place < 2 && first + place < count; ++place) {
      const uint64_t value = (quantise(in[first + place], width) ^ signMask(sign)) >> (32 - width);
      group |= value << shiftInGroup(width, order, place);
    }
    const std::size_t begin = first / 2 * groupBytes;
    for (std::size_t i = 0; i < groupBytes && begin + i < bytes; ++i)
      out[begin + i] = static_cast<std::byte>(group >> (8 * (order == ByteOrder::little ? i : groupBytes - 1 - i)));
  }
  return bytes;
}

std::size_t decodeWide(std::size_t containerBytes, ByteOrder order, Signedness sign, std::span<const std::byte> in,
                       std::span<float> out) noexcept {
  const std::size_t count = std::min(in.size() / containerBytes, out.size());
  for (std::size_t i = 0; i < count; ++i) {
    uint64_t top = loadGroup(in.subspan(i * containerBytes), containerBytes, order) << (64 - 8 * containerBytes);
    top ^= uint64_t{signMask(sign)} << 32;
    out[i] = static_cast<float>(static_cast<int64_t>(top)) * 0x1p-63f;
  }
  return count;
}

std::size_t decodeDelta(std::size_t bytes, ByteOrder order, Signedness sign, uint16_t& sum,
                        std::span<const std::byte> in, std::span<float> out) noexcept {
  const std::size_t count = std::min(in.size() / bytes, out.size());
  for (std::size_t i = 0; i < count; ++i) {
    sum = static_cast<uint16_t>(sum + loadGroup(in.subspan(i * bytes), bytes, order));
    const uint32_t top = (uint32_t{sum} << (32 - 8 * bytes)) ^ signMask(sign);
    out[i] = static_cast<float>(static_cast<int32_t>(top)) * 0x1p-31f;
  }
  return count;
}

std::size_t encodeDelta(std::size_t bytes, ByteOrder order, Signedness sign, uint16_t& sum, std::span<const float> in,
                        std::span<std::byte> out) noexcept {
  const bool offset = sign == Signedness::offset;
  const SampleWord word =
      bytes == 1 ? (offset ? SampleWord::u8 : SampleWord::s8) : (offset ? SampleWord::u16 : SampleWord::s16);
  const std::size_t count = encodeSamples(word, ByteOrder::little, in, out);
  for (std::size_t i = 0; i < count; ++i) {
    const auto place = out.subspan(i * bytes, bytes);
    const auto value = static_cast<uint16_t>(loadGroup(place, bytes, ByteOrder::little));
    const auto difference = static_cast<uint16_t>(value - sum);
    sum = value;
    for (std::size_t k = 0; k < bytes; ++k)
      place[k] = static_cast<std::byte>(difference >> (8 * (order == ByteOrder::little ? k : bytes - 1 - k)));
  }
  return count * bytes;
}

std::size_t decodeTable(std::span<const float, 256> table, std::span<const std::byte> in,
                        std::span<float> out) noexcept {
  const std::size_t count = std::min(in.size(), out.size());
  for (std::size_t i = 0; i < count; ++i) out[i] = table[std::to_integer<std::size_t>(in[i])];
  return count;
}

}  // namespace tervo::dsp
