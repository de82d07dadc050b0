#include "dsp/word_order.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <utility>

namespace tervo::dsp {
namespace {

constexpr uint16_t turned(uint16_t word) {
  return static_cast<uint16_t>(word << 8 | word >> 8);
}
constexpr uint32_t turned(uint32_t word) {
  return __builtin_bswap32(word);
}
constexpr uint64_t turned(uint64_t word) {
  return __builtin_bswap64(word);
}

template <typename Word>
void reverseAll(std::byte* bytes, std::size_t words) noexcept {
  for (std::size_t i = 0; i < words; ++i) {
    Word word;
    std::memcpy(&word, bytes + i * sizeof word, sizeof word);
    word = turned(word);
    std::memcpy(bytes + i * sizeof word, &word, sizeof word);
  }
}

void reverseTriples(std::byte* bytes, std::size_t words) noexcept {
  for (std::size_t i = 0; i < words; ++i) std::swap(bytes[3 * i], bytes[3 * i + 2]);
}

}  // namespace

void reverseWords(std::span<std::byte> bytes, std::size_t width) noexcept {
  const std::size_t words = bytes.size() / width;
  switch (width) {
    case 1:
      return;
    case 2:
      return reverseAll<uint16_t>(bytes.data(), words);
    case 3:
      return reverseTriples(bytes.data(), words);
    case 4:
      return reverseAll<uint32_t>(bytes.data(), words);
    case 8:
      return reverseAll<uint64_t>(bytes.data(), words);
    default:
      for (std::size_t i = 0; i < words; ++i) std::reverse(bytes.data() + i * width, bytes.data() + (i + 1) * width);
  }
}

void flipSigns(std::span<std::byte> bytes, std::size_t width, ByteOrder order) noexcept {
  const std::size_t first = order == ByteOrder::big ? 0 : width - 1;
  const std::size_t end = bytes.size() / width * width;
  for (std::size_t i = first; i < end; i += width) bytes[i] ^= std::byte{0x80};
}

}  // namespace tervo::dsp
