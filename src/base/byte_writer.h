#pragma once
// Writes numbers, records and chunks to a sink. The first failure sticks: later writes do nothing and ok() stays false.

#include <bit>
#include <span>
#include <string_view>

#include "base/byte_source.h"
#include "base/endian.h"

namespace tervo {

class ByteWriter {
 public:
  explicit ByteWriter(ByteSink& sink) : sink_(sink) {}

  bool ok() const { return ok_; }
  uint64_t position() const { return sink_.position(); }
  ByteSink& sink() { return sink_; }

  template <typename T>
  void little(T value) {
    number<T, ByteOrder::little>(value);
  }
  template <typename T>
  void big(T value) {
    number<T, ByteOrder::big>(value);
  }
  void u8(uint8_t value) { little<uint8_t>(value); }

  template <typename Record>
  void record(const Record& value) {
    static_assert(std::is_trivially_copyable_v<Record> && alignof(Record) == 1);
    bytes(std::as_bytes(std::span(&value, 1)));
  }
  void bytes(std::span<const std::byte> data) { ok_ = ok_ && sink_.write(data); }
  void chars(std::string_view text) { bytes(std::as_bytes(std::span(text))); }
  void zeros(std::size_t count);

  /// Overwrites a record that was written at `offset`.
  template <typename Record>
  void patch(uint64_t offset, const Record& value) {
    static_assert(std::is_trivially_copyable_v<Record> && alignof(Record) == 1);
    ok_ = ok_ && sink_.patch(offset, std::as_bytes(std::span(&value, 1)));
  }

 private:
  template <typename T, ByteOrder order>
  void number(T value) {
    if constexpr (std::is_floating_point_v<T>) {
      using Bits = std::conditional_t<sizeof(T) == 4, uint32_t, uint64_t>;
      record(Endian<Bits, order>(std::bit_cast<Bits>(value)));
    } else {
      record(Endian<T, order>(value));
    }
  }

  ByteSink& sink_;
  bool ok_ = true;
};

/// An IFF-style chunk: four characters, a 32-bit size that is patched when the scope ends, the body, and a pad byte
/// where the body's length is odd. A body longer than 32 bits can say leaves 0xFFFFFFFF.
class ChunkScope {
 public:
  ChunkScope(ByteWriter& writer, FourCC id, ByteOrder order = ByteOrder::little);
  ~ChunkScope();
  ChunkScope(const ChunkScope&) = delete;
  ChunkScope& operator=(const ChunkScope&) = delete;

 private:
  ByteWriter& writer_;
  uint64_t bodyStart_;
  ByteOrder order_;
};

}  // namespace tervo
