#include "formats/wave/raw_telephony.h"

#include <algorithm>
#include <cmath>

#include "base/last_error.h"
#include "core/collection.h"
#include "formats/codec/encode_stream.h"
#include "formats/codec/g722.h"
#include "formats/codec/g726.h"
#include "formats/codec/gsm0610.h"
#include "platform/path.h"

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
  return (file.raw ? file.raw->format : variant) & BigEndian;
}

int64_t wholeWords(const SourceFile& file, int bits) {
  const auto size = file.bytes->size();
  const auto width = static_cast<uint64_t>(bits);
  return static_cast<int64_t>(size / width * 8 + size % width * 8 / width);
}

struct Coding {
  SampleFormat format;
  uint32_t flags;
  double rate;  ///< Hz
  int64_t frames;
};

bool addWaveform(Collection& collection, const SourceFile& file, const Coding& coding, DecoderFactory decoder) {
  if (coding.frames == 0) return fail(u"Zero length");
  StoredSamples stored;
  stored.source = file.bytes;
  stored.bytes = file.bytes->size();
  stored.format = formatWord(coding.format, coding.flags);

  auto waveform = std::make_unique<Waveform>();
  waveform->samples = makeCodedSamples(std::move(stored), 1, coding.frames, std::move(decoder));
  if (!waveform->samples) return false;
  waveform->name = platform::stemOf(file.path);
  waveform->sampleRate = coding.rate;
  waveform->coding = SampleCoding::adpcm4;
  waveform->setStoredFormat(coding.format, coding.flags);
  collection.add(std::move(waveform));
  return true;
}

/// The bits of a code word: the row's own, or those of the bit rate asked for where the row leaves them open.
int bitsToWrite(const TargetFile& file, uint32_t variant, double wordsPerSecond, int least, int most) {
  const int own = bitsOfVariant(variant);
  if (!(variant & TelephonyVariant::anyRate) || !(file.options.kbitPerSecond > 0)) return own;
  const double asked = file.options.kbitPerSecond * 1000 / wordsPerSecond;
  return static_cast<int>(std::lround(std::clamp(asked, static_cast<double>(least), static_cast<double>(most))));
}

void reportLosses(const Waveform& waveform, SampleFormat format, TargetFile& file) {
  const SampleFormat stored = formatOf(waveform.storedFormat);
  const TextView before = nameOf(stored == SampleFormat::none ? formatOf(waveform.coding).format : stored);
  file.report.approximated(waveform.name, u"sample format", before, nameOf(format));
  const TextView why = u"the file has no header";
  if (!waveform.markers.empty()) file.report.dropped(waveform.name, u"markers and loops", why);
  if (waveform.rootKey != 60 || waveform.fineTune != 0) file.report.dropped(waveform.name, u"root key and tuning", why);
  if (waveform.gain != 0) file.report.dropped(waveform.name, u"playback volume", why);
  if (!waveform.foreignChunks.empty()) file.report.dropped(waveform.name, u"chunks of the source file", why);
}

bool writeCoded(const Item& item, TargetFile& file, SampleFormat format, std::unique_ptr<BlockEncoder> encoder) {
  if (!encoder) return false;
  if (item.kind() != ItemKind::waveform) return fail(u"The file format can not save this item");
  const auto& waveform = static_cast<const Waveform&>(item);
  const SampleRef mono = waveform.samples ? withChannels(waveform.samples, 1) : nullptr;
  if (!mono) return fail(u"Empty item - nothing to save");
  reportLosses(waveform, format, file);
  return encodeAll(*mono, *encoder, file.sink, file.host);
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
  const uint32_t order = orderFlag(file, variant);
  return addWaveform(collection, file, {formatOfBits(bits), order, 8000, wholeWords(file, bits)},
                     g726Decoder(bits, orderOf(order)));
}

bool readG722Raw(Collection& collection, const SourceFile& file, uint32_t variant) {
  const int bits = bitsOfVariant(variant);
  const uint32_t order = orderFlag(file, variant);
  return addWaveform(collection, file, {SampleFormat::adpcm4, order, 16000, 2 * wholeWords(file, bits)},
                     g722Decoder(bits, orderOf(order)));
}

bool readGsmRaw(Collection& collection, const SourceFile& file, uint32_t variant) {
  const GsmPacking packing = packingOf(variant);
  const int64_t frames = gsmFrames(packing, file.bytes->size());
  return addWaveform(collection, file, {SampleFormat::gsm, 0, 8000, frames}, gsmDecoder(packing));
}

bool writeG726Raw(const Item& item, TargetFile& file, uint32_t variant) {
  const int bits = bitsToWrite(file, variant, 8000, 2, 5);
  return writeCoded(item, file, formatOfBits(bits), g726Encoder(bits, orderOf(variant)));
}

bool writeG722Raw(const Item& item, TargetFile& file, uint32_t variant) {
  const int bits = bitsToWrite(file, variant, 8000, 6, 8);
  return writeCoded(item, file, SampleFormat::adpcm4, g722Encoder(bits, orderOf(variant)));
}

bool writeGsmRaw(const Item& item, TargetFile& file, uint32_t variant) {
  return writeCoded(item, file, SampleFormat::gsm, gsmEncoder(packingOf(variant)));
}

int detectGsmRaw(std::span<const std::byte> head, uint32_t variant, uint64_t fileSize) {
  const GsmPacking packing = packingOf(variant);
  if (!looksLike(packing, head, fileSize)) return 2;
  const bool certain = packing == GsmPacking::modem38 && head.size() >= 4 * 38;
  return certain ? 5 : 3;
}

}  // namespace tervo
