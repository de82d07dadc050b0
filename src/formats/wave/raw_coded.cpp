#include "formats/wave/raw_coded.h"

#include <algorithm>

#include "base/last_error.h"
#include "core/collection.h"
#include "formats/codec/encode_stream.h"
#include "formats/wave/headerless_losses.h"
#include "platform/path.h"

namespace tervo {
namespace {

constexpr double lowestRate = 1, highestRate = 768000;  // Hz, what a waveform may have

void reportCoding(TargetFile& file, const Waveform& waveform, const RawCoding& coding, const BlockEncoder& encoder) {
  const SampleFormat stored = formatOf(waveform.storedFormat);
  const SampleFormat before = stored == SampleFormat::none ? formatOf(waveform.coding).format : stored;
  if (before != coding.format) {
    file.report.approximated(waveform.name, u"sample format", nameOf(before), nameOf(coding.format));
  } else {
    reportRecoding(waveform, encoder, file.report);
  }
}

}  // namespace

RawCoding asTheUserSays(RawCoding coding, const SourceFile& file) {
  coding.rate = file.raw.sampleRate.value_or(coding.rate);
  coding.offset += file.raw.offset;
  return coding;
}

uint64_t codedBytes(const RawCoding& coding, const SourceFile& file) {
  const uint64_t following = file.bytes->size() - std::min(coding.offset, file.bytes->size());
  return std::min(following, file.raw.bytes.value_or(following));
}

int64_t wholeCodes(uint64_t bytes, int bits) {
  if (bits < 1) return 0;  // a coding that its decoder refuses
  const auto width = static_cast<uint64_t>(bits);
  return static_cast<int64_t>(bytes / width * 8 + bytes % width * 8 / width);
}

bool addCodedWaveform(Collection& collection, const SourceFile& file, const RawCoding& coding, int64_t frames,
                      DecoderFactory decoder) {
  if (!decoder) return false;  // its maker has said why
  if (!(coding.rate >= lowestRate && coding.rate <= highestRate)) return fail(u"Invalid sample rate");
  if (frames == 0) return fail(u"Zero length");
  StoredSamples stored;
  stored.source = file.bytes;
  stored.offset = coding.offset;
  stored.bytes = codedBytes(coding, file);
  stored.format = formatWord(coding.format, coding.flags);

  auto waveform = std::make_unique<Waveform>();
  waveform->samples = makeCodedSamples(std::move(stored), coding.channels, frames, std::move(decoder));
  if (!waveform->samples) return false;
  waveform->name = platform::stemOf(file.path);
  waveform->sampleRate = coding.rate;
  waveform->coding = SampleCoding::adpcm4;
  waveform->setStoredFormat(coding.format, coding.flags);
  collection.add(std::move(waveform));
  return true;
}

bool writeCodedWaveform(const Item& item, TargetFile& file, const RawCoding& coding,
                        std::unique_ptr<BlockEncoder> encoder) {
  if (!encoder) return false;
  if (item.kind() != ItemKind::waveform) return fail(u"The file format can not save this item");
  const auto& waveform = static_cast<const Waveform&>(item);
  const SampleRef samples = waveform.samples ? withChannels(waveform.samples, coding.channels) : nullptr;
  if (!samples) return fail(u"Empty item - nothing to save");
  reportCoding(file, waveform, coding, *encoder);
  reportHeaderlessLosses(file, waveform, coding.rate);
  ClippingCount clipping;
  const bool written = writeCoded(*samples, *encoder, file.sink, file.host, clipping);
  clipping.reportTo(file.report, waveform.name);
  return written;
}

}  // namespace tervo
