#pragma once
// The bit stream of sfArk archives: 16-bit little-endian words, each from its highest bit down.

#include <cstddef>
#include <cstdint>
#include <span>

namespace tervo {

class SfArkBits {
 public:
  explicit SfArkBits(std::span<const std::byte> bytes) : bytes_(bytes) {}

  /// False once more was read than there is; what was read then is 0.
  bool ok() const { return ok_; }

  /// Up to 16 bits, the first one highest.
  uint32_t bits(int count) {
    while (available_ < count) refill();
    available_ -= count;
    return static_cast<uint32_t>(held_ >> available_) & ((1u << count) - 1);
  }
  bool flag() { return bits(1) != 0; }

  /// The number of zeros before the next one.
  uint32_t zeros() {
    uint32_t count = 0;
    while (ok_ && bits(1) == 0) ++count;
    return count;
  }

  /// A value as its difference from another one: its size in zeros, then its sign.
  int16_t difference(int16_t from) {
    const auto size = static_cast<int>(zeros() & 0xFFFF);
    const bool isNegative = size != 0 && flag();
    return static_cast<int16_t>(from + (isNegative ? -size : size));
  }

 private:
  void refill() {
    uint32_t word = 0;
    if (position_ < bytes_.size()) {
      word = std::to_integer<uint32_t>(bytes_[position_]);
      if (position_ + 1 < bytes_.size()) word |= std::to_integer<uint32_t>(bytes_[position_ + 1]) << 8;
      position_ += 2;
    } else {
      ok_ = false;
    }
    held_ = held_ << 16 | word;
    available_ += 16;
  }

  std::span<const std::byte> bytes_;
  std::size_t position_ = 0;
  uint64_t held_ = 0;
  int available_ = 0;
  bool ok_ = true;
};

}  // namespace tervo
