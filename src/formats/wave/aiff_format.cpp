#include "formats/wave/aiff_format.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "base/byte_reader.h"
#include "base/last_error.h"
#include "formats/wave/extended_float.h"

namespace tervo {
namespace {

struct CommonRecord {
  BigU16 channels;
  BigU32 frames;
  BigU16 bits;
  ExtendedFloat rate;
};
static_assert(sizeof(CommonRecord) == 18);

struct MaudRecord {
  BigU32 samples;
  BigU16 storedBits, bits;  // as stored, and when decompressed
  BigU32 rateSource;
  BigU16 rateDivide, channelInfo, channels, compression;
  std::array<BigU32, 3> reserved;
};
static_assert(sizeof(MaudRecord) == 32);

constexpr int maxBits = 64;

bool setStored(AiffFormat& format, SampleFormat stored, uint32_t flags = 0) {
  format.format = formatWord(stored, flags);
  format.coding = codingOf(stored, SampleCoding::adpcm4);
  return true;
}

// Samples stand at the top of as many whole bytes as they need.
bool setPcm(AiffFormat& format, uint32_t flags) {
  constexpr SampleFormat byBytes[] = {SampleFormat::pcm8, SampleFormat::pcm16, SampleFormat::pcm24,
                                      SampleFormat::pcm32};
  if (format.bits < 1 || format.bits > maxBits) return fail(u"Unsupported bits/sample");
  return setStored(format, byBytes[std::min(format.containerBytes(), 4) - 1], flags);
}

bool readBigEndian(AiffFormat& format) {
  return setPcm(format, BigEndian);
}
bool readLittleEndian(AiffFormat& format) {
  return setPcm(format, 0);
}
template <int bits>
bool readFixed(AiffFormat& format) {
  format.bits = bits;
  return setPcm(format, BigEndian);
}
template <int bits>
bool readFloat(AiffFormat& format) {
  format.bits = bits;
  return setStored(format, bits == 32 ? SampleFormat::float32 : SampleFormat::float64, BigEndian);
}
bool readG711(AiffFormat& format) {
  format.bits = 8;
  return setStored(format, format.codec == AiffCodec::aLaw ? SampleFormat::aLaw : SampleFormat::muLaw);
}

bool setAdpcm(AiffFormat& format, int bits) {
  format.bits = bits;
  return setStored(format, static_cast<SampleFormat>(static_cast<int>(SampleFormat::adpcm2) + bits - 2));
}
bool readAdpcm4(AiffFormat& format) {
  return setAdpcm(format, 4);
}
// The G.723 of 1988 has code words of 3 and of 5 bits.
bool readG723(AiffFormat& format) {
  return setAdpcm(format, format.bits == 5 ? 5 : 3);
}
bool readG726(AiffFormat& format) {
  return setAdpcm(format, format.bits >= 2 && format.bits <= 5 ? format.bits : 5);
}
bool readGsm(AiffFormat& format) {
  format.bits = 2;
  return setStored(format, SampleFormat::gsm);
}
bool readDwvw(AiffFormat& format) {
  setStored(format, format.bits > 16 ? SampleFormat::pcm24 : SampleFormat::pcm16);
  format.coding = SampleCoding::pcm16;
  return true;
}

struct CompressionRule {
  std::string_view type;  // in small letters: programs differ in the case
  AiffCodec codec;
  bool (*read)(AiffFormat&);
};

// clang-format off
constexpr CompressionRule compressionRules[] = {
    {"none", AiffCodec::pcm,      readBigEndian},
    {"twos", AiffCodec::pcm,      readBigEndian},
    {"lpcm", AiffCodec::pcm,      readBigEndian},
    {"sowt", AiffCodec::pcm,      readLittleEndian},
    {"in24", AiffCodec::pcm,      readFixed<24>},
    {"in32", AiffCodec::pcm,      readFixed<32>},
    {"fl32", AiffCodec::floating, readFloat<32>},
    {"fl64", AiffCodec::floating, readFloat<64>},
    {"alaw", AiffCodec::aLaw,     readG711},
    {"ulaw", AiffCodec::muLaw,    readG711},
    {"ima4", AiffCodec::ima4,     readAdpcm4},
    {"g721", AiffCodec::g726,     readAdpcm4},
    {"g722", AiffCodec::g722,     readAdpcm4},
    {"g723", AiffCodec::g726,     readG723},
    {"g726", AiffCodec::g726,     readG726},
    {"gsm ", AiffCodec::gsm,      readGsm},
    {"mac3", AiffCodec::mace3,    readAdpcm4},
    {"mac6", AiffCodec::mace6,    readAdpcm4},
    {"dwvw", AiffCodec::dwvw,     readDwvw},
};
// clang-format on

char lower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

const CompressionRule* ruleOf(std::string_view type) {
  for (const auto& rule : compressionRules) {
    if (std::equal(rule.type.begin(), rule.type.end(), type.begin(), type.end(),
                   [](char a, char b) { return a == lower(b); }))
      return &rule;
  }
  return nullptr;
}

// The type, and the Pascal string that names it.
bool readCompression(AiffFormat& format, ByteReader& reader) {
  const std::string_view type = reader.chars(4);
  if (!reader.ok()) return fail(u"Reading from file failed");
  if (const auto* rule = ruleOf(type)) {
    format.codec = rule->codec;
    return rule->read(format);
  }
  const std::size_t length = reader.u8();
  const Text name = fromFileText(reader.chars(std::min(length, reader.remaining())));
  return fail(u"Unsupported compression type: " + (name.empty() ? fromFileText(type) : name));
}

bool setRate(AiffFormat& format, double rate) {
  format.statedRate = rate;
  format.sampleRate = std::trunc(std::min(rate, 2147483647.0));
  return format.sampleRate > 0 || fail(u"Invalid sample rate");
}

}  // namespace

std::optional<AiffFormat> readCommon(std::span<const std::byte> body, AiffForm form) {
  ByteReader reader(body);
  const auto record = reader.record<CommonRecord>();
  if (!reader.ok()) return fail(u"Reading from file failed");
  AiffFormat format;
  format.channels = record.channels;
  format.frames = record.frames;
  format.bits = record.bits;
  if (format.channels > 2) return fail(u"Can't handle > 2 channel files");
  if (!setRate(format, record.rate.value())) return std::nullopt;
  const bool understood = form == AiffForm::plain ? readBigEndian(format) : readCompression(format, reader);
  return understood ? std::optional(format) : std::nullopt;
}

std::optional<AiffFormat> readMaudHeader(std::span<const std::byte> body) {
  enum Compression : unsigned { none = 0, aLaw = 2, muLaw = 3 };
  ByteReader reader(body);
  const auto record = reader.record<MaudRecord>();
  if (!reader.ok()) return fail(u"Reading from file failed");
  AiffFormat format;
  format.channels = record.channels;
  format.frames = record.samples;
  if (format.channels > 2) return fail(u"Can't handle > 2 channel files");
  if (record.rateDivide == 0 || record.rateSource < record.rateDivide) return fail(u"Invalid sample rate");
  format.sampleRate = format.statedRate = static_cast<double>(record.rateSource) / record.rateDivide;
  if (record.compression == none && record.storedBits >= 1 && record.storedBits <= 16) {
    format.bits = record.storedBits < 9 ? 8 : 16;
    // Bytes are unsigned, words are not.
    setPcm(format, BigEndian | (format.bits == 8 ? Unsigned : 0));
  } else if (record.compression == aLaw || record.compression == muLaw) {
    format.codec = record.compression == aLaw ? AiffCodec::aLaw : AiffCodec::muLaw;
    readG711(format);
  } else {
    return fail(u"Unknown sample format or compression");
  }
  return format;
}

}  // namespace tervo
