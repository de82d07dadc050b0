#include "core/sample_format.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>

namespace tervo {
namespace {

struct FormatRow {
  TextView name;
  int bits;
};

struct CodingRow {
  TextView name;
  int kbitPerSecond;
  SampleFormat format;
};

// clang-format off
constexpr std::array<FormatRow, 20> formats{{
  {u"PCM 8-bit",        8},
  {u"PCM 12-bit",      12},
  {u"PCM 16-bit",      16},
  {u"PCM 20-bit",      20},
  {u"PCM 24-bit",      24},
  {u"PCM 32-bit",      32},
  {u"Float 32-bit",    32},
  {u"Float 64-bit",    64},
  {u"Mu-law 8-bit",     8},
  {u"A-law 8-bit",      8},
  {u"GSM 2-bit",        2},
  {u"ADPCM 2-bit",      2},
  {u"ADPCM 3-bit",      3},
  {u"ADPCM 4-bit",      4},
  {u"ADPCM 5-bit",      5},
  {u"Delta PCM 8-bit",  8},
  {u"Delta PCM 16-bit", 16},
  {u"Compressed",       1},
  {u"Ascii text",       8},
  {u"MIDI",             0},
}};

constexpr std::array<CodingRow, 21> codings{{
  {u"PCM 8-bit",               0, SampleFormat::pcm8},
  {u"PCM 16-bit",              0, SampleFormat::pcm16},
  {u"PCM 24-bit",              0, SampleFormat::pcm24},
  {u"PCM 32-bit",              0, SampleFormat::pcm32},
  {u"Float 32-bit",            0, SampleFormat::float32},
  {u"Mu-law 8-bit",            0, SampleFormat::muLaw},
  {u"A-law 8-bit",             0, SampleFormat::aLaw},
  {u"ADPCM 4-bit",             0, SampleFormat::adpcm4},
  {u"Compressed 32 kbit/s",   32, SampleFormat::compressed},
  {u"Compressed 48 kbit/s",   48, SampleFormat::compressed},
  {u"Compressed 64 kbit/s",   64, SampleFormat::compressed},
  {u"Compressed 80 kbit/s",   80, SampleFormat::compressed},
  {u"Compressed 96 kbit/s",   96, SampleFormat::compressed},
  {u"Compressed 112 kbit/s", 112, SampleFormat::compressed},
  {u"Compressed 128 kbit/s", 128, SampleFormat::compressed},
  {u"Compressed 144 kbit/s", 144, SampleFormat::compressed},
  {u"Compressed 160 kbit/s", 160, SampleFormat::compressed},
  {u"Compressed 192 kbit/s", 192, SampleFormat::compressed},
  {u"Compressed 224 kbit/s", 224, SampleFormat::compressed},
  {u"Compressed 256 kbit/s", 256, SampleFormat::compressed},
  {u"Compressed 320 kbit/s", 320, SampleFormat::compressed},
}};

struct BitRateBound {
  int below;  // kbit/s
  SampleCoding coding;
};
constexpr std::array<BitRateBound, 12> bitRateBounds{{
  { 40, SampleCoding::compressed32},
  { 56, SampleCoding::compressed48},
  { 72, SampleCoding::compressed64},
  { 88, SampleCoding::compressed80},
  {104, SampleCoding::compressed96},
  {120, SampleCoding::compressed112},
  {136, SampleCoding::compressed128},
  {152, SampleCoding::compressed144},
  {176, SampleCoding::compressed160},
  {208, SampleCoding::compressed192},
  {240, SampleCoding::compressed224},
  {288, SampleCoding::compressed256},
}};
// clang-format on

static_assert(formats.size() == static_cast<std::size_t>(SampleFormat::none));
static_assert(codings.size() == static_cast<std::size_t>(SampleCoding::compressed320) + 1);

constexpr uint32_t formatBits = (1u << formats.size()) - 1;

template <typename Rows, typename Value>
const typename Rows::value_type* rowOf(const Rows& rows, Value value) {
  const auto index = static_cast<std::size_t>(value);
  return index < rows.size() ? &rows[index] : nullptr;
}

}  // namespace

SampleFormat formatOf(SampleFormatWord word) {
  const uint32_t bits = word & formatBits;
  return bits == 0 ? SampleFormat::none : static_cast<SampleFormat>(std::countr_zero(bits));
}

TextView nameOf(SampleFormat format) {
  const FormatRow* row = rowOf(formats, format);
  return row ? row->name : TextView();
}

TextView nameOf(SampleCoding coding) {
  const CodingRow* row = rowOf(codings, coding);
  return row ? row->name : TextView();
}

int bitsOf(SampleFormat format) {
  const FormatRow* row = rowOf(formats, format);
  return row ? row->bits : 0;
}

int bitRateOf(SampleCoding coding) {
  const CodingRow* row = rowOf(codings, coding);
  return row ? row->kbitPerSecond : 0;
}

FormatOfCoding formatOf(SampleCoding coding) {
  const CodingRow* row = rowOf(codings, coding);
  if (!row) return {SampleFormat::none, 0};
  return {row->format, static_cast<float>(row->kbitPerSecond)};
}

SampleCoding codingOfBitRate(double kbitPerSecond) {
  // 0.499, not 0.5: a rate exactly between two whole numbers is rounded towards zero.
  const double rounded = std::trunc(kbitPerSecond + std::copysign(0.499, kbitPerSecond));
  for (const BitRateBound& row : bitRateBounds)
    if (rounded < row.below) return row.coding;
  return SampleCoding::compressed320;
}

SampleCoding codingOf(SampleFormat format, SampleCoding current) {
  switch (format) {
    case SampleFormat::pcm8:
    case SampleFormat::deltaPcm8:
      return SampleCoding::pcm8;
    case SampleFormat::pcm12:
    case SampleFormat::pcm16:
    case SampleFormat::deltaPcm16:
      return SampleCoding::pcm16;
    case SampleFormat::pcm20:
    case SampleFormat::pcm24:
      return SampleCoding::pcm24;
    case SampleFormat::pcm32:
      return SampleCoding::pcm32;
    case SampleFormat::float32:
    case SampleFormat::float64:
      return SampleCoding::float32;
    case SampleFormat::muLaw:
      return SampleCoding::muLaw;
    case SampleFormat::aLaw:
      return SampleCoding::aLaw;
    default:
      return current;
  }
}

}  // namespace tervo
