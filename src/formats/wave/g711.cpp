#include "formats/wave/g711.h"

#include <algorithm>
#include <array>
#include <bit>

#include "dsp/sample_kernels.h"

namespace tervo {
namespace {

/// G.711 table 2: a byte is inverted; sign, three bits of segment, four of interval. 33 (here x 4) makes every segment
/// begin at a power of two.
constexpr int expandMuLaw(unsigned byte) {
  const unsigned code = ~byte & 0xFF;
  const auto segment = (code >> 4) & 7;
  const int magnitude = (static_cast<int>(((code & 15) << 3) + 132) << segment) - 132;
  return code & 0x80 ? -magnitude : magnitude;
}

/// G.711 table 1: even bits are inverted; the two lowest segments are one straight line.
constexpr int expandALaw(unsigned byte) {
  const unsigned code = byte ^ 0x55;
  const auto segment = (code >> 4) & 7;
  const int interval = static_cast<int>(((code & 15) << 4) + 8);
  const int magnitude = segment == 0 ? interval : (interval + 256) << (segment - 1);
  return code & 0x80 ? magnitude : -magnitude;
}

template <int (*expand)(unsigned)>
constexpr std::array<float, 256> makeExpansion() {
  std::array<float, 256> table{};
  for (unsigned byte = 0; byte < 256; ++byte) table[byte] = static_cast<float>(expand(byte)) * 0x1p-15f;
  return table;
}

/// Number of bits above the five that a magnitude of the lowest segment has.
constexpr unsigned segmentOf(unsigned magnitude) {
  return static_cast<unsigned>(std::max(0, static_cast<int>(std::bit_width(magnitude)) - 5));
}

/// `value` has the 14 bits that mu-law sees.
constexpr unsigned compressMuLaw(int value) {
  const unsigned magnitude = std::min(static_cast<unsigned>(value < 0 ? ~value : value) + 33, 0x1FFFu);
  const unsigned segment = segmentOf(magnitude) - 1;
  const unsigned code = segment << 4 | ((magnitude >> (segment + 1)) & 15);
  return (value < 0 ? 0x7F : 0xFF) ^ code;
}

/// `value` has the 12 bits that matter to A-law.
constexpr unsigned compressALaw(int value) {
  const auto magnitude = static_cast<unsigned>(value < 0 ? ~value : value);
  const unsigned segment = segmentOf(magnitude << 1);
  const unsigned code = segment << 4 | ((magnitude >> (segment > 0 ? segment - 1 : 0)) & 15);
  return (value < 0 ? 0x55 : 0xD5) ^ code;
}

template <int bits, unsigned (*compressOne)(int)>
constexpr std::array<uint8_t, (1u << bits)> makeCompression() {
  std::array<uint8_t, (1u << bits)> table{};
  constexpr int half = 1 << (bits - 1);
  for (int value = -half; value < half; ++value)
    table[static_cast<std::size_t>(value + half)] = static_cast<uint8_t>(compressOne(value));
  return table;
}

constexpr auto muLawExpansion = makeExpansion<expandMuLaw>();
constexpr auto aLawExpansion = makeExpansion<expandALaw>();
constexpr auto muLawCompression = makeCompression<14, compressMuLaw>();
constexpr auto aLawCompression = makeCompression<12, compressALaw>();

static_assert(expandMuLaw(0) == -32124 && expandMuLaw(0x80) == 32124);
static_assert(expandALaw(0x55) == -8 && expandALaw(0xD5) == 8);

}  // namespace

std::span<const float, 256> expansionTable(CompandingLaw law) noexcept {
  return law == CompandingLaw::muLaw ? muLawExpansion : aLawExpansion;
}

uint8_t compress(CompandingLaw law, int16_t value) noexcept {
  const auto index = static_cast<std::size_t>(value + 32768);
  return law == CompandingLaw::muLaw ? muLawCompression[index >> 2] : aLawCompression[index >> 4];
}

std::size_t compress(CompandingLaw law, std::span<const float> in, std::span<std::byte> out) noexcept {
  constexpr auto nativeOrder = std::endian::native == std::endian::little ? ByteOrder::little : ByteOrder::big;
  const std::size_t count = std::min(in.size(), out.size());
  std::array<int16_t, 1024> words;
  for (std::size_t done = 0; done < count; done += words.size()) {
    const auto part = in.subspan(done, std::min(words.size(), count - done));
    dsp::encodeSamples(dsp::SampleWord::s16, nativeOrder, part, std::as_writable_bytes(std::span(words)));
    for (std::size_t i = 0; i < part.size(); ++i) out[done + i] = std::byte{compress(law, words[i])};
  }
  return count;
}

}  // namespace tervo
