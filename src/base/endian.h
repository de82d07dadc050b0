#pragma once
// Integers as they stand in files: byte arrays of a fixed order with conversion to and from native values. Structs of
// these have no padding and may be laid over bytes of any alignment.

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace tervo {

enum class ByteOrder : uint8_t { little, big };

template <typename T, ByteOrder order>
class Endian {
 public:
  constexpr Endian() = default;
  constexpr Endian(T value) {
    const auto bits = static_cast<Bits>(value);
    for (std::size_t i = 0; i < sizeof(T); ++i) bytes_[place(i)] = static_cast<uint8_t>(bits >> (8 * i));
  }
  constexpr operator T() const {
    Bits bits = 0;
    for (std::size_t i = 0; i < sizeof(T); ++i) bits = static_cast<Bits>(bits | (Bits{bytes_[place(i)]} << (8 * i)));
    return static_cast<T>(bits);
  }

 private:
  using Bits = std::conditional_t<sizeof(T) <= 4, uint32_t, uint64_t>;
  static_assert(std::is_integral_v<T>);
  static constexpr std::size_t place(std::size_t i) { return order == ByteOrder::little ? i : sizeof(T) - 1 - i; }

  std::array<uint8_t, sizeof(T)> bytes_{};
};

using LittleU16 = Endian<uint16_t, ByteOrder::little>;
using LittleI16 = Endian<int16_t, ByteOrder::little>;
using LittleU32 = Endian<uint32_t, ByteOrder::little>;
using LittleI32 = Endian<int32_t, ByteOrder::little>;
using LittleI64 = Endian<int64_t, ByteOrder::little>;
using LittleU64 = Endian<uint64_t, ByteOrder::little>;
using BigU16 = Endian<uint16_t, ByteOrder::big>;
using BigI16 = Endian<int16_t, ByteOrder::big>;
using BigU32 = Endian<uint32_t, ByteOrder::big>;
using BigI32 = Endian<int32_t, ByteOrder::big>;
using BigU64 = Endian<uint64_t, ByteOrder::big>;

/// A four-character code as it stands in the file, first character first.
struct FourCC {
  std::array<char, 4> chars{};

  constexpr FourCC() = default;
  constexpr FourCC(const char (&text)[5]) : chars{text[0], text[1], text[2], text[3]} {}
  constexpr bool operator==(const FourCC&) const = default;
};

/// Whether all four characters are printable ASCII, as chunk names are.
constexpr bool isPrintable(FourCC id) {
  return std::all_of(id.chars.begin(), id.chars.end(), [](char c) { return c >= 0x20 && c <= 0x7E; });
}

}  // namespace tervo
