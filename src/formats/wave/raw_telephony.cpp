#include "formats/wave/raw_telephony.h"

#include <algorithm>
#include <cmath>

#include "formats/codec/g722.h"
#include "formats/codec/g726.h"
#include "formats/codec/gsm0610.h"
#include "formats/wave/headerless_losses.h"
#include "formats/wave/raw_coded.h"

namespace tervo {
namespace {

SampleFormat formatOfBits(int bits) {
  switch (bits) {
    case 2:
      return SampleFormat::adpcm2;
    case 3:
      return SampleFormat::adpcm3;
    case 5:
      return SampleFormat::adpcm5;
    default:
      return SampleFormat::adpcm4;
  }
}

int bitsOfVariant(uint32_t variant) {
  return static_cast<int>(variant & TelephonyVariant::bitsMask);
}
BitOrder orderOf(uint32_t flags) {
  return flags & BigEndian ? BitOrder::big : BitOrder::little;
}

/// The user's order of bits, else the row's.
uint32_t orderFlag(const SourceFile& file, uint32_t variant) {
  if (!file.raw.byteOrder) return variant & BigEndian;
  return *file.raw.byteOrder == ByteOrder::big ? BigEndian : 0;
}

RawCoding codingOfBits(int bits, uint32_t flags) {
  return {formatOfBits(bits), flags, 8000};
}
RawCoding g722Coding(uint32_t flags) {
  return {SampleFormat::adpcm4, flags, 16000};
}
constexpr RawCoding gsmCoding{SampleFormat::gsm, 0, 8000};

/// The bits of a code word: the row's own, or those of the bit rate asked for where the row leaves them open.
int bitsToWrite(const TargetFile& file, uint32_t variant, double wordsPerSecond, int least, int most) {
  const int own = bitsOfVariant(variant);
  if (!(variant & TelephonyVariant::anyRate) || !(file.options.kbitPerSecond > 0)) return own;
  const double asked = file.options.kbitPerSecond * 1000 / wordsPerSecond;
  return static_cast<int>(std::lround(std::clamp(asked, static_cast<double>(least), static_cast<double>(most))));
}

GsmPacking packingOf(uint32_t variant) {
  switch (variant) {
    case GsmVariant::wavPairs65:
      return GsmPacking::wavPairs65;
    case GsmVariant::modem34:
      return GsmPacking::modem34;
    case GsmVariant::modem38:
      return GsmPacking::modem38;
    default:
      return GsmPacking::frames33;
  }
}

/// Whether the first frames, as many as there are up to 32, each pass a test.
template <typename Test>
bool everyFrame(std::span<const std::byte> head, std::size_t frameBytes, Test test) {
  const std::size_t frames = std::min<std::size_t>(head.size() / frameBytes, 32);
  for (std::size_t i = 0; i < frames; ++i)
    if (!test(head.subspan(i * frameBytes, frameBytes))) return false;
  return frames > 0;
}

bool beginsWithMark(std::span<const std::byte> frame) {
  return std::to_integer<int>(frame[0]) >> 4 == 0xD;
}

/// A U.S. Robotics modem begins a frame with FE FE, or with B6 B6 what it takes for silence, and ends it with A5 A5.
bool hasModemMarks(std::span<const std::byte> frame) {
  return frame[0] == frame[1] && (frame[0] == std::byte{0xFE} || frame[0] == std::byte{0xB6}) &&
         frame[36] == std::byte{0xA5} && frame[37] == std::byte{0xA5} && beginsWithMark(frame.subspan(2));
}

bool hasMarks(GsmPacking packing, std::span<const std::byte> head) {
  switch (packing) {
    case GsmPacking::modem38:
      return everyFrame(head, 38, hasModemMarks);
    case GsmPacking::modem34:
      return everyFrame(head, 34, [](auto frame) { return beginsWithMark(frame) && frame[33] == std::byte{0}; });
    case GsmPacking::frames33:
      return everyFrame(head, 33, beginsWithMark);
    case GsmPacking::wavPairs65:
      break;
  }
  return false;
}

bool looksLike(GsmPacking packing, std::span<const std::byte> head, uint64_t fileSize) {
  const bool wholeFrames = fileSize % blockOf(packing).bytes == 0;
  const auto marked = [&](GsmPacking other) { return hasMarks(other, head); };
  // Pairs bear no mark: they are what is left when their size fits.
  if (packing == GsmPacking::wavPairs65)
    return wholeFrames && !marked(GsmPacking::frames33) && !marked(GsmPacking::modem34) && !marked(GsmPacking::modem38);
  // A single frame of 34 bytes also begins as one of 33 does.
  return marked(packing) && (packing != GsmPacking::modem34 || wholeFrames) &&
         (packing != GsmPacking::frames33 || !looksLike(GsmPacking::modem34, head, fileSize));
}

}  // namespace

bool readG726Raw(Collection& collection, const SourceFile& file, uint32_t variant) {
  const int bits = bitsOfVariant(variant);
  const RawCoding coding = asTheUserSays(codingOfBits(bits, orderFlag(file, variant)), file);
  return addCodedWaveform(collection, file, coding, wholeCodes(codedBytes(coding, file), bits),
                          g726Decoder(bits, orderOf(coding.flags)));
}

bool readG722Raw(Collection& collection, const SourceFile& file, uint32_t variant) {
  const int bits = bitsOfVariant(variant);
  const RawCoding coding = asTheUserSays(g722Coding(orderFlag(file, variant)), file);
  return addCodedWaveform(collection, file, coding, 2 * wholeCodes(codedBytes(coding, file), bits),
                          g722Decoder(bits, orderOf(coding.flags)));
}

bool readGsmRaw(Collection& collection, const SourceFile& file, uint32_t variant) {
  const GsmPacking packing = packingOf(variant);
  const RawCoding coding = asTheUserSays(gsmCoding, file);
  const uint64_t bytes = codedBytes(coding, file);
  reportBytesLeftOver(file, bytes - gsmBytes(packing, gsmFrames(packing, bytes)));
  return addCodedWaveform(collection, file, coding, gsmFrames(packing, bytes), gsmDecoder(packing));
}

bool writeG726Raw(const Item& item, TargetFile& file, uint32_t variant) {
  const int bits = bitsToWrite(file, variant, 8000, 2, 5);
  return writeCodedWaveform(item, file, codingOfBits(bits, variant & BigEndian), g726Encoder(bits, orderOf(variant)));
}

bool writeG722Raw(const Item& item, TargetFile& file, uint32_t variant) {
  const int bits = bitsToWrite(file, variant, 8000, 6, 8);
  return writeCodedWaveform(item, file, g722Coding(variant & BigEndian), g722Encoder(bits, orderOf(variant)));
}

bool writeGsmRaw(const Item& item, TargetFile& file, uint32_t variant) {
  return writeCodedWaveform(item, file, gsmCoding, gsmEncoder(packingOf(variant)));
}

int detectGsmRaw(std::span<const std::byte> head, uint32_t variant, uint64_t fileSize) {
  const GsmPacking packing = packingOf(variant);
  if (!looksLike(packing, head, fileSize)) return 2;
  const bool certain = packing == GsmPacking::modem38 && head.size() >= 4 * 38;
  return certain ? 5 : 3;
}

}  // namespace tervo
