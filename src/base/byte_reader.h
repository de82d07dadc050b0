#pragma once
// Reads numbers, records and text from a span of bytes. It cannot run past the end: a read that does not fit sets the
// error, remembers where, and from then on everything reads as zero. So a parser may read a whole record and ask once.

#include <bit>
#include <cstring>
#include <optional>
#include <span>
#include <string_view>

#include "base/endian.h"

namespace tervo {

class ByteReader {
 public:
  explicit ByteReader(std::span<const std::byte> bytes, uint64_t baseOffset = 0) : bytes_(bytes), base_(baseOffset) {}

  bool ok() const { return !errorOffset_; }
  /// Position in the file (base offset included) of the first read that failed.
  std::optional<uint64_t> errorOffset() const { return errorOffset_; }
  std::size_t position() const { return position_; }
  std::size_t remaining() const { return bytes_.size() - position_; }
  bool atEnd() const { return remaining() == 0; }

  template <typename T>
  T little() {
    return number<T, ByteOrder::little>();
  }
  template <typename T>
  T big() {
    return number<T, ByteOrder::big>();
  }
  uint8_t u8() { return number<uint8_t, ByteOrder::little>(); }

  /// A record of Endian fields (no padding, trivially copyable).
  template <typename Record>
  Record record() {
    static_assert(std::is_trivially_copyable_v<Record> && alignof(Record) == 1);
    Record value{};
    if (const auto from = take(sizeof(Record)); from.size() == sizeof(Record))
      std::memcpy(&value, from.data(), sizeof value);
    return value;
  }

  FourCC fourCC() { return record<FourCC>(); }
  /// The next `count` bytes, or an empty span and the error.
  std::span<const std::byte> take(std::size_t count);
  std::string_view chars(std::size_t count);
  /// A reader of its own over the next `count` bytes, which this one passes over.
  ByteReader sub(std::size_t count);
  void skip(std::size_t count) { take(count); }
  void seek(std::size_t position);

 private:
  template <typename T, ByteOrder order>
  T number() {
    if constexpr (std::is_floating_point_v<T>) {
      using Bits = std::conditional_t<sizeof(T) == 4, uint32_t, uint64_t>;
      return std::bit_cast<T>(number<Bits, order>());
    } else {
      return record<Endian<T, order>>();
    }
  }
  void setError();

  std::span<const std::byte> bytes_;
  uint64_t base_ = 0;
  std::size_t position_ = 0;
  std::optional<uint64_t> errorOffset_;
};

}  // namespace tervo
