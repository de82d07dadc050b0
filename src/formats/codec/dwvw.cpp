#include "formats/codec/dwvw.h"

#include <algorithm>

#include "base/last_error.h"

namespace tervo {
namespace {

constexpr int leastBits = 8, mostBits = 24;
// Of one sample: zeros and their end, sign, the difference, its sign, the bit more.
constexpr std::size_t longestSample = mostBits / 2 + 1 + 1 + mostBits + 1 + 1;

// Bits from the top of each byte. Reading on behind the end sets the error, and gives zeros.
class BitReader {
 public:
  BitReader(std::span<const std::byte> bytes, std::size_t position) : bytes_(bytes), position_(position) {}

  bool ok() const { return ok_; }
  std::size_t position() const { return position_; }

  int bit() {
    if (position_ >= 8 * bytes_.size()) {
      ok_ = false;
      return 0;
    }
    const auto byte = static_cast<unsigned>(bytes_[position_ / 8]);
    return static_cast<int>(byte >> (7 - position_++ % 8) & 1);
  }
  int number(int bits) {
    int value = 0;
    for (int i = 0; i < bits; ++i) value = value << 1 | bit();
    return value;
  }

 private:
  std::span<const std::byte> bytes_;
  std::size_t position_;
  bool ok_ = true;
};

struct DwvwState {
  int width = 0;
  int sample = 0;

  void decode(BitReader& reader, int bits) {
    width = (width + widthChange(reader, bits / 2) + bits) % bits;
    const int half = 1 << (bits - 1);
    sample += difference(reader, half - 1);
    if (sample >= half) sample -= 2 * half;
    if (sample < -half) sample += 2 * half;
  }

 private:
  static int widthChange(BitReader& reader, int most) {
    int change = 0;
    while (change < most && reader.ok() && reader.bit() == 0) ++change;
    return change > 0 && reader.bit() == 1 ? -change : change;
  }

  int difference(BitReader& reader, int largest) const {
    if (width == 0) return 0;
    int value = 1 << (width - 1) | reader.number(width - 1);
    const bool isNegative = reader.bit() == 1;
    if (value == largest) value += reader.bit();
    return isNegative ? -value : value;
  }
};

class DwvwDecoder final : public BlockDecoder {
 public:
  explicit DwvwDecoder(int bits) : bits_(bits) {}

  std::size_t blockBytes() const override { return bytesPerBlock; }
  std::size_t blockFrames() const override { return 8 * bytesPerBlock + longestSample; }
  bool independentBlocks() const override { return false; }

  // A sample that goes on in the next block waits for it.
  std::size_t decode(std::span<const std::byte> block, std::span<float> out) override {
    pending_.insert(pending_.end(), block.begin(), block.end());
    const float scale = 1.0f / static_cast<float>(1 << (bits_ - 1));
    std::size_t frames = 0;
    while (frames < out.size()) {
      BitReader reader(pending_, firstBit_);
      DwvwState next = state_;
      next.decode(reader, bits_);
      if (!reader.ok()) break;
      state_ = next;
      firstBit_ = reader.position();
      out[frames++] = static_cast<float>(state_.sample) * scale;
    }
    pending_.erase(pending_.begin(), pending_.begin() + static_cast<std::ptrdiff_t>(firstBit_ / 8));
    firstBit_ %= 8;
    return frames;
  }

 private:
  static constexpr std::size_t bytesPerBlock = 4096;

  int bits_;
  DwvwState state_;
  std::vector<std::byte> pending_;
  std::size_t firstBit_ = 0;  // of pending_
};

}  // namespace

DecoderFactory dwvwDecoder(int bits, int channels) {
  TextView error;
  if (channels != 1) error = u"Can only handle mono DWVW";
  if (bits < leastBits || bits > mostBits) error = u"Unsupported bits/sample for DWVW";
  if (!error.empty()) {
    setLastErrorText(error);
    return nullptr;
  }
  return [bits] { return std::make_unique<DwvwDecoder>(bits); };
}

}  // namespace tervo
