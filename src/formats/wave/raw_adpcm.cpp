#include "formats/wave/raw_adpcm.h"

#include <array>
#include <string_view>

#include "base/byte_reader.h"
#include "base/last_error.h"
#include "core/collection.h"
#include "formats/codec/g726.h"
#include "formats/codec/gsm0610.h"
#include "formats/codec/oki_adpcm.h"
#include "formats/codec/rockwell_adpcm.h"
#include "formats/codec/yamaha_adpcm.h"
#include "formats/wave/raw_coded.h"
#include "formats/wave/raw_pcm.h"
#include "formats/writer_rules.h"

namespace tervo {
namespace {

constexpr double voxRate = 8000;  // Hz
constexpr double rockwellRate = 7200;

RawCoding voxCoding(uint32_t variant) {
  return {SampleFormat::adpcm4, 0, variant == 0 ? voxRate : static_cast<double>(variant)};
}

bool isAdpcm(SampleFormat format) {
  return format >= SampleFormat::adpcm2 && format <= SampleFormat::adpcm5;
}

// Codes as wide as the format has bits, as the user says where there is anything said.
bool addCodes(Collection& collection, const SourceFile& file, const RawCoding& usual, DecoderFactory decoder) {
  const RawCoding coding = asTheUserSays(usual, file);
  const int64_t frames = wholeCodes(codedBytes(coding, file), bitsOf(coding.format) * coding.channels);
  return addCodedWaveform(collection, file, coding, frames, std::move(decoder));
}

// What the setting says a .vox file holds.
bool readVoxAs(SampleFormatWord word, Collection& collection, const SourceFile& file) {
  const SampleFormat format = formatOf(word);
  const uint32_t flags = word & (Unsigned | BigEndian);
  if (isAdpcm(format)) {
    const BitOrder order = flags & BigEndian ? BitOrder::big : BitOrder::little;
    return addCodes(collection, file, {format, flags, voxRate}, g726Decoder(bitsOf(format), order));
  }
  if (format == SampleFormat::gsm) {
    const RawCoding coding = asTheUserSays({format, 0, voxRate}, file);
    const int64_t frames = gsmFrames(GsmPacking::frames33, codedBytes(coding, file));
    return addCodedWaveform(collection, file, coding, frames, gsmDecoder(GsmPacking::frames33));
  }
  return readHeaderless(collection, file, RawLayout{formatWord(format, flags), 1, voxRate});
}

SampleFormat formatOfBits(int bits) {
  return bits == 2 ? SampleFormat::adpcm2 : bits == 3 ? SampleFormat::adpcm3 : SampleFormat::adpcm4;
}

// Raw modem data as mgetty's voice tools keep it; numbers in network byte order.
struct RmdHeader {
  FourCC magic;  // "RMD1"
  std::array<char, 16> modem;
  BigU16 compression;  // by modem; of the ones below the bits of a code
  BigU16 speed;        // Hz
  uint8_t bits;
  std::array<uint8_t, 7> reserved;
};
static_assert(sizeof(RmdHeader) == 32);

bool isRockwell(const RmdHeader& header) {
  if (header.magic != FourCC("RMD1") || header.compression < 2 || header.compression > 4) return false;
  const std::string_view modem(header.modem.data(), header.modem.size());
  const std::string_view name = modem.substr(0, modem.find('\0'));
  return name == "Rockwell" || name == "Elsa" || name == "V253modem";
}

RmdHeader headerOf(std::span<const std::byte> head) {
  return ByteReader(head).record<RmdHeader>();
}

}  // namespace

bool readVox(Collection& collection, const SourceFile& file, uint32_t variant) {
  const SampleFormatWord word = file.settings.fmt.vox.dataFormat;
  if (variant == 0 && !(isAdpcm(formatOf(word)) && (word & DialogicAdpcm))) return readVoxAs(word, collection, file);
  return addCodes(collection, file, voxCoding(variant), okiAdpcmDecoder());
}

bool writeVox(const Item& item, TargetFile& file, uint32_t variant) {
  return writeCodedWaveform(item, file, voxCoding(variant), makeOkiAdpcmEncoder());
}

bool readRockwell(Collection& collection, const SourceFile& file, uint32_t variant) {
  RawCoding coding{formatOfBits(static_cast<int>(variant)), 0, rockwellRate};
  const RmdHeader header = headerOf(file.bytes->readUpTo(0, sizeof(RmdHeader), sizeof(RmdHeader)));
  if (isRockwell(header)) {
    coding.format = formatOfBits(header.compression);
    coding.offset = sizeof header;
    if (header.speed != 0) coding.rate = header.speed;
  }
  return addCodes(collection, file, coding, rockwellAdpcmDecoder(bitsOf(coding.format)));
}

bool writeRockwell(const Item& item, TargetFile& file, uint32_t variant) {
  if (item.kind() != ItemKind::waveform) return fail(u"The file format can not save this item");
  const SampleFormat wanted = chooseSampleFormat(file.row, static_cast<const Waveform&>(item), file.options);
  const RawCoding coding{variant == 0 ? wanted : formatOfBits(static_cast<int>(variant)), 0, rockwellRate};
  return writeCodedWaveform(item, file, coding, makeRockwellAdpcmEncoder(bitsOf(coding.format)));
}

int detectRockwell(std::span<const std::byte> head, uint32_t, uint64_t) {
  return isRockwell(headerOf(head)) ? 6 : 2;
}

bool readYamahaAdpcm(Collection& collection, const SourceFile& file, uint32_t) {
  RawCoding coding{SampleFormat::adpcm4, 0, RawLayout{}.sampleRate};
  if (file.raw.channels == 2) coding.channels = 2;
  return addCodes(collection, file, coding, yamahaAdpcmDecoder(coding.channels));
}

bool writeYamahaAdpcm(const Item& item, TargetFile& file, uint32_t) {
  return writeCodedWaveform(item, file, {SampleFormat::adpcm4, 0, RawLayout{}.sampleRate}, makeYamahaAdpcmEncoder(1));
}

}  // namespace tervo
