#pragma once
// Streams of codes of a few bits each, packed from the low end of each byte upward.

#include <cstddef>
#include <span>
#include <vector>

namespace tervo {

/// Reads codes of 1..8 bits; past the end they are zero.
class CodeReader {
 public:
  CodeReader(std::span<const std::byte> bytes, int bits) : bytes_(bytes), bits_(bits) {}

  unsigned next() {
    if (held_ < bits_) {
      const unsigned byte = at_ < bytes_.size() ? std::to_integer<unsigned>(bytes_[at_]) : 0;
      ++at_;
      word_ |= byte << held_;
      held_ += 8;
    }
    const unsigned code = word_ & ((1u << bits_) - 1);
    word_ >>= bits_;
    held_ -= bits_;
    return code;
  }

 private:
  std::span<const std::byte> bytes_;
  int bits_;
  std::size_t at_ = 0;
  unsigned word_ = 0;
  int held_ = 0;
};

/// Appends codes of 1..8 bits and keeps what does not fill a byte yet.
class CodeWriter {
 public:
  explicit CodeWriter(int bits) : bits_(bits) {}

  void put(unsigned code, std::vector<std::byte>& out) {
    word_ |= code << held_;
    held_ += bits_;
    if (held_ >= 8) putByte(out);
  }
  /// Completes the last byte with zeros.
  void finish(std::vector<std::byte>& out) {
    if (held_ > 0) putByte(out);
    held_ = 0;
  }

 private:
  void putByte(std::vector<std::byte>& out) {
    out.push_back(static_cast<std::byte>(word_ & 0xFF));
    word_ >>= 8;
    held_ -= 8;
  }

  int bits_;
  unsigned word_ = 0;
  int held_ = 0;
};

}  // namespace tervo
