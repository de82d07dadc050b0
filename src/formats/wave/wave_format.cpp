#include "formats/wave/wave_format.h"

#include <algorithm>
#include <array>

#include "base/byte_reader.h"
#include "base/last_error.h"

namespace tervo {
namespace {

constexpr std::size_t baseBytes = 16;

bool setStored(WaveFormat& format, SampleFormat stored, uint32_t flags = 0) {
  format.format = formatWord(stored, flags);
  format.coding = codingOf(stored, format.coding);
  return true;
}

bool bitsAre(const WaveFormat& format, int lowest, int highest) {
  return format.bits >= lowest && format.bits <= highest;
}

// Stored format of the ADPCM families: 2 to 5 bits a sample.
bool setAdpcm(WaveFormat& format) {
  format.coding = SampleCoding::adpcm4;
  const int steps = std::clamp(format.bits, 2, 5) - 2;
  return setStored(format, static_cast<SampleFormat>(static_cast<int>(SampleFormat::adpcm2) + steps));
}

void setCompressed(WaveFormat& format, double kbitPerSecond) {
  format.kbitPerSecond = kbitPerSecond;
  format.coding = codingOfBitRate(kbitPerSecond);
  setStored(format, SampleFormat::compressed);
}

// The bits that a sample takes up are the block's: 24 bits may stand in 4 bytes. Where the data rate says that samples
// are as wide as their bits need, a block of another size is a mistake of the writer.
void settleContainer(WaveFormat& format) {
  const int needed = (format.bits + 7) / 8;
  const int fromBlock = format.blockAlign % format.channels == 0 ? format.blockAlign / format.channels : 0;
  const bool isNarrow = format.bytesPerSecond == format.sampleRate * needed * format.channels;
  const bool isWide = fromBlock >= needed && fromBlock <= 8 && !isNarrow;
  format.containerBits = 8 * (isWide ? fromBlock : needed);
}

bool readPcm(WaveFormat& format) {
  if (format.bits == 0) format.bits = 16;
  if (format.bits > 64) return fail(u"Unsupported compression type");
  settleContainer(format);
  if (format.bits <= 8) return setStored(format, SampleFormat::pcm8, Unsigned);
  if (format.bits <= 16) return setStored(format, SampleFormat::pcm16);
  if (format.bits <= 24) return setStored(format, SampleFormat::pcm24);
  return setStored(format, SampleFormat::pcm32);
}

bool readFloat(WaveFormat& format) {
  if (format.bits == 0) format.bits = 32;
  if (format.bits != 32 && format.bits != 64) {
    return fail(u"Unsupported bits/sample for IEEE floating point samples");
  }
  format.containerBits = format.bits;
  return setStored(format, format.bits == 32 ? SampleFormat::float32 : SampleFormat::float64);
}

bool readG711(WaveFormat& format) {
  format.bits = format.containerBits = 8;
  return setStored(format, format.codec == WaveCodec::aLaw ? SampleFormat::aLaw : SampleFormat::muLaw);
}

bool readMs(WaveFormat& format) {
  if (format.bits != 4 || format.blockAlign == 0) return fail(u"Unsupported or invalid MS ADPCM file");
  return setAdpcm(format);
}

bool readIma(WaveFormat& format) {
  if (!bitsAre(format, 2, 4) || format.blockAlign == 0) return fail(u"Unsupported or invalid IMA ADPCM file");
  return setAdpcm(format);
}

bool readOki(WaveFormat& format) {
  if (format.channels > 1) return fail(u"Can only handle mono Dialogic ADPCM format");
  if (format.bits != 4) return fail(u"Unsupported or invalid Dialogic ADPCM file");
  return setAdpcm(format);
}

bool readYamaha(WaveFormat& format) {
  if (format.channels > 2) return fail(u"> 2ch Yamaha ADPCM not supported");
  if (format.bits != 4) return fail(u"Unsupported bits/sample for Yamaha ADPCM format");
  return setAdpcm(format);
}

bool readRockwell(WaveFormat& format) {
  if (!bitsAre(format, 2, 4)) return fail(u"Unsupported or invalid Rockwell ADPCM file");
  if (format.channels > 1) return fail(u"Can only handle mono Rockwell ADPCM format");
  return setAdpcm(format);
}

bool readG726(WaveFormat& format) {
  if (!bitsAre(format, 2, 5)) return fail(u"Invalid no bits/sample for CCITT G.721/.723/.726 ADPCM encoding");
  return setAdpcm(format);
}

bool readG722(WaveFormat& format) {
  format.bits = 4;
  return setAdpcm(format);
}

bool readGsm(WaveFormat& format) {
  if (format.channels > 1) return fail(u"Can only handle (the standard!) mono GSM");
  format.bits = 2;
  return setStored(format, SampleFormat::gsm);
}

// MPEG1WAVEFORMAT: layer, bit rate, head mode ...
bool readMpeg(WaveFormat& format) {
  ByteReader reader(format.extra());
  reader.skip(2);
  const auto bitRate = reader.little<uint32_t>();
  const auto mode = reader.little<uint16_t>();
  constexpr unsigned jointStereo = 8, otherModes = 1 | 2 | 4;
  if ((mode & jointStereo) != 0 && (mode & otherModes) != 0)
    return fail(u"Can't handle mixed channel mode MPEG streams");
  setCompressed(format, bitRate < 8000 ? 128 : bitRate / 1000.0);
  return true;
}

// MPEGLAYER3WAVEFORMAT: identifier, flags, block size ...
bool readMpegLayer3(WaveFormat& format) {
  ByteReader reader(format.extra());
  reader.skip(6);
  const auto blockSize = reader.little<uint16_t>();
  setCompressed(format, blockSize * format.sampleRate / (format.sampleRate < 28000 ? 72000 : 144000));
  return true;
}

bool readByRate(WaveFormat& format) {
  setCompressed(format, format.bytesPerSecond * 8.0 / 1000.0);
  return true;
}

struct TagRule {
  uint16_t tag;
  WaveCodec codec;
  bool (*read)(WaveFormat&);
};

// clang-format off
constexpr TagRule tagRules[] = {
    {1,     WaveCodec::pcm,      readPcm},
    {2,     WaveCodec::ms,       readMs},
    {3,     WaveCodec::floating, readFloat},
    {6,     WaveCodec::aLaw,     readG711},
    {7,     WaveCodec::muLaw,    readG711},
    {17,    WaveCodec::ima,      readIma},
    {20,    WaveCodec::g726,     readG726},
    {23,    WaveCodec::oki,      readOki},
    {32,    WaveCodec::yamaha,   readYamaha},
    {49,    WaveCodec::gsm,      readGsm},
    {59,    WaveCodec::rockwell, readRockwell},
    {64,    WaveCodec::g726,     readG726},
    {66,    WaveCodec::g726,     readG726},
    {69,    WaveCodec::g726,     readG726},
    {80,    WaveCodec::mpeg,     readMpeg},
    {85,    WaveCodec::mpeg,     readMpegLayer3},
    {89,    WaveCodec::g726,     readG726},
    {100,   WaveCodec::g726,     readG726},
    {101,   WaveCodec::g722,     readG722},
    {133,   WaveCodec::g726,     readG726},
    {139,   WaveCodec::g726,     readG726},
    {147,   WaveCodec::g726,     readG726},
    {176,   WaveCodec::other,    readByRate},
    {255,   WaveCodec::other,    readByRate},
    {291,   WaveCodec::g726,     readG726},
    {320,   WaveCodec::g726,     readG726},
    {369,   WaveCodec::muLaw,    readG711},
    {370,   WaveCodec::aLaw,     readG711},
    {384,   WaveCodec::other,    readByRate},
    {768,   WaveCodec::rockwell, readRockwell},
    {771,   WaveCodec::gsm,      readGsm},
    {4096,  WaveCodec::gsm,      readGsm},
    {8198,  WaveCodec::other,    readByRate},
    {8199,  WaveCodec::other,    readByRate},
    {16707, WaveCodec::other,    readByRate},
    {16963, WaveCodec::g726,     readG726},
    {26447, WaveCodec::vorbis,   readByRate},
    {26448, WaveCodec::vorbis,   readByRate},
    {26449, WaveCodec::vorbis,   readByRate},
    {26479, WaveCodec::vorbis,   readByRate},
    {26480, WaveCodec::vorbis,   readByRate},
    {26481, WaveCodec::vorbis,   readByRate},
    {41221, WaveCodec::g726,     readG726},
    {41222, WaveCodec::other,    readByRate},
    {41223, WaveCodec::g726,     readG726},
};
// clang-format on
static_assert(std::is_sorted(std::begin(tagRules), std::end(tagRules),
                             [](const TagRule& a, const TagRule& b) { return a.tag < b.tag; }));

const TagRule* ruleOf(uint16_t tag) {
  const auto* rule = std::lower_bound(std::begin(tagRules), std::end(tagRules), tag,
                                      [](const TagRule& a, uint16_t value) { return a.tag < value; });
  return rule != std::end(tagRules) && rule->tag == tag ? rule : nullptr;
}

// WAVEFORMATEXTENSIBLE: valid bits, speakers, and a GUID whose first two bytes are the tag proper.
bool readExtensible(WaveFormat& format) {
  static constexpr std::array<uint8_t, 12> guidTail = {0, 0, 0x10, 0, 0x80, 0, 0, 0xAA, 0, 0x38, 0x9B, 0x71};
  ByteReader reader(format.body);
  reader.seek(18);
  const int validBits = reader.little<uint16_t>();
  format.channelMask = reader.little<uint32_t>();
  const auto subformat = reader.little<uint32_t>();
  const auto tail = reader.take(guidTail.size());
  if (!reader.ok()) return fail(u"Reading from file failed");
  const bool known = std::equal(tail.begin(), tail.end(), std::as_bytes(std::span(guidTail)).begin());
  if (!known || subformat > 0xFFFF) return fail(u"Unsupported 'Extensible' subformat GUID");
  format.extensible = true;
  format.tag = static_cast<uint16_t>(subformat);
  if (validBits > 0 && validBits < format.bits) format.bits = validBits;
  return true;
}

}  // namespace

std::span<const std::byte> WaveFormat::extra() const {
  constexpr std::size_t waveFormatEx = 18;
  return body.size() > waveFormatEx ? std::span(body).subspan(waveFormatEx) : std::span<const std::byte>();
}

std::optional<WaveFormat> readWaveFormat(std::vector<std::byte> body) {
  ByteReader reader(body);
  const auto header = reader.record<WaveFormatHeader>();
  if (!reader.ok()) return fail(u"Reading from file failed");
  WaveFormat format;
  format.tag = header.tag;
  format.channels = header.channels;
  format.sampleRate = header.sampleRate;
  format.bytesPerSecond = header.bytesPerSecond;
  format.blockAlign = header.blockAlign;
  format.bits = body.size() >= baseBytes ? reader.little<uint16_t>() : 0;
  if (body.size() >= 20) {
    reader.skip(2);  // the size of what follows, which some writers leave at 0
    format.samplesPerBlock = reader.little<uint16_t>();
  }
  format.body = std::move(body);

  if (format.tag == WaveTag::extensible && !readExtensible(format)) return std::nullopt;
  if (format.extensible) format.samplesPerBlock = 0;
  const TagRule* rule = ruleOf(format.tag);
  if (!rule) return fail(u"Unsupported compression type");
  if (format.channels == 0) return fail(u"No channels");
  if (format.sampleRate == 0) return fail(u"Invalid sample rate");
  format.codec = rule->codec;
  if (!rule->read(format)) return std::nullopt;
  return format;
}

bool packsFromTheTop(uint16_t tag) {
  return tag == WaveTag::g726 || tag == WaveTag::g726Itu || tag == WaveTag::g723;
}

int64_t framesInData(const WaveFormat& format, uint64_t dataBytes) {
  if (format.containerBits > 0)
    return static_cast<int64_t>(dataBytes / static_cast<uint64_t>(format.containerBytes() * format.channels));
  if (format.tag == WaveTag::msnAudio) return static_cast<int64_t>(dataBytes / 38 * 160);
  double bitsPerFrame = format.bits * format.channels;
  if (format.codec == WaveCodec::gsm) bitsPerFrame = 1.625;
  if (formatOf(format.format) == SampleFormat::compressed)
    bitsPerFrame = format.kbitPerSecond * 1000 / format.sampleRate;
  constexpr double most = 1LL << 53;
  return bitsPerFrame > 0 ? static_cast<int64_t>(std::min(static_cast<double>(dataBytes) * 8 / bitsPerFrame, most)) : 0;
}

}  // namespace tervo
