#include "formats/codec/sfark_decoder.h"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <bit>
#include <optional>

#include "formats/codec/sfark_bits.h"
#include "formats/codec/sfark_predictor.h"

namespace tervo {
namespace {

constexpr std::size_t largestPart = 256 * 1024;  // that goes through zlib
constexpr std::size_t shiftWindow = 64;
constexpr int mostRounds = 20;

struct MethodRules {
  std::size_t blockWords, codeWindow;
  int rounds, averageRounds;  ///< of differences, at most
  std::size_t order;          ///< of the prediction
};
// clang-format off
constexpr MethodRules rules[] = {
    {4096, 256,  3,  0,   0},  // turbo
    {1024,  32, 20, 20,   0},  // fast
    {4096,  32,  3,  3,   8},  // standard
    {4096,  32,  3,  5, 128},  // max
};
// clang-format on
const MethodRules& rulesOf(SfArkMethod method) {
  return rules[static_cast<std::size_t>(method) - static_cast<std::size_t>(SfArkMethod::turbo)];
}

using Words = std::span<int16_t>;

int16_t word(int value) {
  return static_cast<int16_t>(value);
}

// The ways to undo a round of differences. `last` is what each round remembers of the block before.

/// From the word before.
void undoDifferences(Words words, int16_t& last) {
  for (int16_t& each : words) last = each = word(each + last);
}
/// From the mean of both neighbours, backwards.
void undoMeans(Words words, int16_t& last) {
  if (words.empty()) return;
  for (std::size_t i = words.size() - 1; i-- > 0;) {
    const int before = i > 0 ? words[i - 1] : 0;
    words[i] = word(words[i] + ((before + words[i + 1]) >> 1));
  }
  last = words.back();
}
/// From an average that follows half of each difference.
void undoAverage(Words words, int16_t& last) {
  for (int16_t& each : words) {
    const int16_t difference = each;
    each = word(difference + last);
    last = word(last + difference / 2);
  }
}

uint32_t sumOf(Words words) {
  uint32_t sum = 0;
  for (const int16_t each : words) sum += static_cast<uint32_t>(each < 0 ? ~each : each);
  return sum;
}

class Unpacker {
 public:
  Unpacker(std::span<const std::byte> packed, const SfArkLayout& layout)
      : bits_(packed),
        layout_(layout),
        rules_(rulesOf(layout.method)),
        predictor_(rules_.order),
        words_(rules_.blockWords),
        check_(layout.checkBefore) {}

  bool unpack(const std::function<bool(double)>& progress) {
    while (out_.size() < layout_.originalBytes) {
      if (!(isInSamples() ? unpackBlock() : unpackPart()) || !bits_.ok()) return false;
      if (!progress(static_cast<double>(out_.size()) / layout_.originalBytes)) return false;
    }
    return out_.size() == layout_.originalBytes && check_ == layout_.check;
  }
  std::vector<std::byte> take() { return std::move(out_); }

 private:
  bool isInSamples() const { return out_.size() >= layout_.samplesBegin && out_.size() < layout_.samplesEnd; }

  bool unpackPart() {
    std::array<std::byte, 4> size{};
    readBytes(size);
    std::uint32_t bytes = 0;
    for (std::size_t i = 0; i < size.size(); ++i) bytes |= std::to_integer<uint32_t>(size[i]) << (8 * i);
    if (!bits_.ok() || bytes > largestPart) return false;
    std::vector<std::byte> packed(bytes);
    readBytes(packed);
    const auto part = inflateSfArk(packed);
    check_ = sfArkCheck(check_, part);
    out_.insert(out_.end(), part.begin(), part.end());
    return !part.empty();
  }

  void readBytes(std::span<std::byte> to) {
    for (std::byte& byte : to) byte = static_cast<std::byte>(bits_.bits(8));
  }

  bool unpackBlock() {
    const std::size_t bytes = std::min<std::size_t>(rules_.blockWords * 2, layout_.samplesEnd - out_.size());
    const Words block = Words(words_).first(bytes / 2);
    if (!(layout_.method == SfArkMethod::turbo ? decodeTurbo(block) : decode(block))) return false;
    for (const int16_t each : block) {
      out_.push_back(static_cast<std::byte>(each & 0xFF));
      out_.push_back(static_cast<std::byte>(each >> 8 & 0xFF));
    }
    out_.resize(out_.size() + bytes % 2);
    return true;
  }

  bool decodeTurbo(Words block) {
    const auto rounds = readRounds(rounds_, rules_.rounds);
    if (!rounds || !readWords(block)) return false;
    for (int i = *rounds; i-- > 0;) {
      if (i == 0) check_ = 2 * check_ + sumOf(block);
      undoDifferences(block, last_[static_cast<std::size_t>(i)]);
    }
    return true;
  }

  bool decode(Words block) {
    const auto shifts = readShifts(block.size());
    if (!shifts) return false;
    const bool averages = bits_.flag();
    const auto rounds =
        averages ? readRounds(averageRounds_, rules_.averageRounds) : readRounds(rounds_, rules_.rounds);
    if (!rounds) return false;
    std::array<bool, mostRounds> usesMeans{};
    for (int i = 0; i < *rounds && !averages; ++i) usesMeans[static_cast<std::size_t>(i)] = bits_.flag();
    uint32_t plain = 0;
    if (rules_.order > 0 && bits_.flag()) {
      plain = bits_.bits(16);
      plain |= bits_.bits(16) << 16;
    }
    if (!readWords(block)) return false;
    if (rules_.order > 0) predictor_.decode(block, plain);
    for (int i = *rounds; i-- > 0;) {
      const auto round = static_cast<std::size_t>(i);
      const auto undo = averages ? undoAverage : usesMeans[round] ? undoMeans : undoDifferences;
      undo(block, last_[round]);
    }
    for (std::size_t i = 0; i < block.size() && !shifts->empty(); ++i)
      block[i] = word(block[i] * (1 << (*shifts)[i / shiftWindow]));
    check_ = 2 * check_ + sumOf(block);
    return true;
  }

  std::optional<int> readRounds(int16_t& known, int most) {
    const int16_t rounds = bits_.difference(known);
    if (rounds < 0 || rounds > most) return std::nullopt;
    known = rounds;
    return rounds;
  }

  /// By how many bits each window of words was shifted down; empty when none was.
  std::optional<std::vector<int16_t>> readShifts(std::size_t count) {
    if (!bits_.flag()) return std::vector<int16_t>{};
    const std::size_t windows = (count + shiftWindow - 1) / shiftWindow;
    std::vector<int16_t> shifts;
    std::size_t at = 0;
    while (bits_.ok() && bits_.flag()) {
      if (at >= windows) return std::nullopt;
      at += bits_.bits(static_cast<int>(std::bit_width(windows - at - 1)));
      if (at > windows) return std::nullopt;
      const int16_t next = bits_.difference(shift_ == 0 ? usedShift_ : int16_t{0});
      if (next < 0 || next > 15) return std::nullopt;
      if (shift_ == 0) usedShift_ = next;
      shifts.resize(at, shift_);
      shift_ = next;
    }
    shifts.resize(windows, shift_);
    return shifts;
  }

  bool readWords(Words words) {
    for (std::size_t first = 0; first < words.size(); first += rules_.codeWindow)
      if (!readWindow(words.subspan(first, std::min(rules_.codeWindow, words.size() - first)))) return false;
    return bits_.ok();
  }

  /// The window's number of low bits; then of each word those bits, its sign, and in zeros what is above them.
  bool readWindow(Words words) {
    constexpr int plainWords = 14, signsOnly = -1, allZero = -2;
    lowBits_ = bits_.difference(lowBits_);
    if (lowBits_ < allZero || lowBits_ > plainWords) return false;
    for (int16_t& each : words) {
      if (lowBits_ == allZero) {
        each = 0;
      } else if (lowBits_ == signsOnly) {
        each = word(bits_.flag() ? -1 : 0);
      } else if (lowBits_ == plainWords) {
        each = word(static_cast<int>(bits_.bits(16)));
      } else {
        const uint32_t low = bits_.bits(lowBits_ + 1);
        const uint32_t size = bits_.zeros() << lowBits_ | low >> 1;
        each = word(static_cast<int>((low & 1) != 0 ? ~size : size));
      }
    }
    return bits_.ok();
  }

  SfArkBits bits_;
  const SfArkLayout& layout_;
  const MethodRules& rules_;
  SfArkPredictor predictor_;
  std::vector<int16_t> words_;
  std::vector<std::byte> out_;
  uint32_t check_;
  // What a block goes on from.
  std::array<int16_t, mostRounds> last_{};
  int16_t rounds_ = 0, averageRounds_ = 0, shift_ = 0, usedShift_ = 0, lowBits_ = 8;
};

}  // namespace

std::vector<std::byte> inflateSfArk(std::span<const std::byte> packed) {
  std::vector<std::byte> part(largestPart);
  uLongf bytes = static_cast<uLongf>(part.size());
  const int result = uncompress(reinterpret_cast<Bytef*>(part.data()), &bytes,
                                reinterpret_cast<const Bytef*>(packed.data()), static_cast<uLong>(packed.size()));
  part.resize(result == Z_OK ? static_cast<std::size_t>(bytes) : 0);
  return part;
}

uint32_t sfArkCheck(uint32_t check, std::span<const std::byte> bytes) {
  return static_cast<uint32_t>(
      adler32(check, reinterpret_cast<const Bytef*>(bytes.data()), static_cast<uInt>(bytes.size())));
}

std::vector<std::byte> unpackSfArk(std::span<const std::byte> packed, const SfArkLayout& layout,
                                   const std::function<bool(double)>& progress) {
  Unpacker unpacker(packed, layout);
  return unpacker.unpack(progress) ? unpacker.take() : std::vector<std::byte>{};
}

}  // namespace tervo
