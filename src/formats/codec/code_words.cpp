#include "formats/codec/code_words.h"

namespace tervo {

Text codeWordCoding(TextView codec, int bits, BitOrder order) {
  Text name = Text(codec) + u" " + static_cast<char16_t>(u'0' + bits) + u"-bit";
  if (bits < 8) name += order == BitOrder::big ? u", high bits first" : u", low bits first";
  return name;
}

std::size_t unpackCodeWords(std::span<const std::byte> bytes, int bits, BitOrder order, std::span<uint8_t> out) {
  const uint32_t mask = (1u << bits) - 1;
  uint32_t held = 0;
  int heldBits = 0;
  std::size_t count = 0;
  for (const std::byte byte : bytes) {
    const auto value = std::to_integer<uint32_t>(byte);
    held = order == BitOrder::little ? held | (value << heldBits) : (held << 8) | value;
    heldBits += 8;
    while (heldBits >= bits) {
      if (count == out.size()) return count;
      heldBits -= bits;
      out[count++] = static_cast<uint8_t>((order == BitOrder::little ? held : held >> heldBits) & mask);
      if (order == BitOrder::little) held >>= bits;
    }
  }
  return count;
}

void CodeWordPacker::put(uint8_t word, std::vector<std::byte>& out) {
  held_ = order_ == BitOrder::little ? held_ | (uint32_t{word} << heldBits_) : (held_ << bits_) | word;
  heldBits_ += bits_;
  if (heldBits_ < 8) return;
  heldBits_ -= 8;
  out.push_back(static_cast<std::byte>((order_ == BitOrder::little ? held_ : held_ >> heldBits_) & 0xFF));
  if (order_ == BitOrder::little) held_ >>= 8;
}

void CodeWordPacker::finish(std::vector<std::byte>& out) {
  if (heldBits_ > 0) {
    const uint32_t rest = order_ == BitOrder::little ? held_ : held_ << (8 - heldBits_);
    out.push_back(static_cast<std::byte>(rest & 0xFF));
  }
  held_ = 0;
  heldBits_ = 0;
}

}  // namespace tervo
