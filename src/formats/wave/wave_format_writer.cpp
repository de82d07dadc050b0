#include "formats/wave/wave_format_writer.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "base/byte_reader.h"
#include "base/byte_writer.h"
#include "base/last_error.h"
#include "formats/codec/encode_stream.h"
#include "formats/codec/g726.h"
#include "formats/codec/gsm0610.h"
#include "formats/number_text.h"
#include "formats/wave/sample_encoder.h"
#include "formats/wave/wave_format.h"
#include "formats/writer_rules.h"

namespace tervo {
namespace {

constexpr uint32_t gsmBlockFrames = 320, gsmBlockBytes = 65;
constexpr uint32_t speakersMono = 4, speakersStereo = 3;  // front centre; front left and right

// What each stored form looks like in "fmt ".
struct FormRule {
  SampleFormat format;
  uint16_t tag;
  uint16_t bits;
  uint8_t formatBytes;
};
// clang-format off
constexpr FormRule formRules[] = {
    {SampleFormat::pcm8,    WaveTag::pcm,      8,  16},
    {SampleFormat::pcm16,   WaveTag::pcm,      16, 16},
    {SampleFormat::pcm24,   WaveTag::pcm,      24, 16},
    {SampleFormat::pcm32,   WaveTag::pcm,      32, 16},
    {SampleFormat::float32, WaveTag::floating, 32, 16},
    {SampleFormat::muLaw,   WaveTag::muLaw,    8,  18},
    {SampleFormat::aLaw,    WaveTag::aLaw,     8,  18},
    {SampleFormat::gsm,     WaveTag::gsm,      0,  20},
    {SampleFormat::adpcm2,  WaveTag::g726,     2,  20},
    {SampleFormat::adpcm3,  WaveTag::g723,     3,  20},
    {SampleFormat::adpcm4,  WaveTag::g721,     4,  20},
    {SampleFormat::adpcm5,  WaveTag::g723,     5,  20},
};
// clang-format on

const FormRule* ruleOf(SampleFormat format) {
  for (const auto& rule : formRules) {
    if (rule.format == format) return &rule;
  }
  return nullptr;
}

bool isAdpcm(SampleFormat format) {
  return format >= SampleFormat::adpcm2 && format <= SampleFormat::adpcm5;
}

// Bits per sample that the "fmt " of the source says; 0 when it does not.
int sourceBits(const StoredSamples* stored) {
  if (!stored) return 0;
  ByteReader reader(stored->waveFormat);
  reader.skip(sizeof(WaveFormatHeader));
  return reader.little<uint16_t>();
}

// Whether samples are as wide as the stored format. Those of 12 or 53 bits, or of 24 in 4 bytes, are seldom read.
bool isUsualWidth(const Waveform& waveform, const WaveFormatHeader& header) {
  const SampleFormat format = formatOf(waveform.storedFormat);
  return format > SampleFormat::pcm32 || (sourceBits(waveform.samples->stored()) == bitsOf(format) &&
                                          header.blockAlign * 8 == header.channels * bitsOf(format));
}

// Whether the bytes of the source may stay as they are: a "fmt " describes them, and nothing else was asked for.
bool canCopy(const Waveform& waveform, const SaveOptions& options, WaveForm form) {
  const auto* stored = waveform.samples->stored();
  if (!stored || stored->waveFormat.size() < sizeof(WaveFormatHeader)) return false;
  const auto header = ByteReader(stored->waveFormat).record<WaveFormatHeader>();
  if (form == WaveForm::extensible && header.tag != WaveTag::extensible) return false;
  const auto asked = requestedFormat(waveform, options);
  if (!asked) return true;
  return *asked == formatOf(waveform.storedFormat) && isUsualWidth(waveform, header);
}

WavePlan planCopy(const Waveform& waveform) {
  const auto& stored = *waveform.samples->stored();
  WavePlan plan;
  plan.isVerbatim = true;
  plan.format = stored.waveFormat;
  plan.dataBytes = stored.bytes;
  plan.sampleFormat = formatOf(waveform.storedFormat);
  WaveFormatHeader header;
  std::memcpy(&header, plan.format.data(), sizeof header);
  plan.needsFrameCount = header.tag != WaveTag::pcm;
  plan.padding = formatOf(stored.format) == SampleFormat::pcm8 ? std::byte{128} : std::byte{0};
  const auto rate = static_cast<uint32_t>(std::lround(waveform.sampleRate));
  if (rate != header.sampleRate) {
    const double scale = waveform.sampleRate / header.sampleRate;
    header.bytesPerSecond = static_cast<uint32_t>(std::min(std::round(header.bytesPerSecond * scale), 4294967295.0));
    header.sampleRate = rate;
    std::memcpy(plan.format.data(), &header, sizeof header);
  }
  return plan;
}

WaveFormatHeader headerFor(const FormRule& rule, const Waveform& waveform) {
  const auto channels = static_cast<uint32_t>(waveform.channels());
  double bitsPerFrame = rule.bits * channels;
  uint32_t blockAlign = (rule.bits + 7u) / 8u * channels;
  if (rule.format == SampleFormat::gsm) {
    bitsPerFrame = 8.0 * gsmBlockBytes / gsmBlockFrames;
    blockAlign = gsmBlockBytes;
  } else if (isAdpcm(rule.format)) {
    // The fewest bytes that whole code words of all channels fill.
    blockAlign = (8 % rule.bits == 0 ? 1u : rule.bits) * channels;
  }
  WaveFormatHeader header;
  header.tag = rule.tag;
  header.channels = static_cast<uint16_t>(channels);
  header.sampleRate = static_cast<uint32_t>(std::lround(waveform.sampleRate));
  header.bytesPerSecond = static_cast<uint32_t>(std::lround(waveform.sampleRate * bitsPerFrame / 8));
  header.blockAlign = static_cast<uint16_t>(blockAlign);
  return header;
}

// Subformat GUIDs are this one with the tag in the first two bytes (ksmedia.h).
void writeSubformat(ByteWriter& writer, uint16_t tag) {
  static constexpr uint8_t tail[] = {0, 0, 0, 0, 0x10, 0, 0x80, 0, 0, 0xAA, 0, 0x38, 0x9B, 0x71};
  writer.little(tag);
  writer.bytes(std::as_bytes(std::span(tail)));
}

std::vector<std::byte> makeFormat(const FormRule& rule, const Waveform& waveform, WaveForm form) {
  MemorySink sink;
  ByteWriter writer(sink);
  auto header = headerFor(rule, waveform);
  if (form == WaveForm::extensible) header.tag = WaveTag::extensible;
  writer.record(header);
  writer.little(rule.bits);
  if (form == WaveForm::extensible) {
    writer.little<uint16_t>(22);
    writer.little(rule.bits);  // valid bits
    writer.little(waveform.channels() == 1 ? speakersMono : speakersStereo);
    writeSubformat(writer, rule.tag);
    return sink.take();
  }
  if (rule.formatBytes >= 18) writer.little(static_cast<uint16_t>(rule.formatBytes - 18));
  if (rule.formatBytes >= 20)
    writer.little(static_cast<uint16_t>(rule.format == SampleFormat::gsm ? gsmBlockFrames : 0));
  return sink.take();
}

uint64_t dataBytesOf(const FormRule& rule, const Waveform& waveform) {
  const auto frames = static_cast<uint64_t>(waveform.frames());
  if (rule.format == SampleFormat::gsm) return (frames + gsmBlockFrames - 1) / gsmBlockFrames * gsmBlockBytes;
  return (frames * static_cast<uint64_t>(waveform.channels()) * rule.bits + 7) / 8;
}

std::unique_ptr<BlockEncoder> makeEncoder(SampleFormat format, int channels) {
  if (format == SampleFormat::gsm) return gsmEncoder(GsmPacking::wavPairs65);
  if (!isAdpcm(format)) return nullptr;
  const auto order = packsFromTheTop(ruleOf(format)->tag) ? BitOrder::big : BitOrder::little;
  return g726Encoder(bitsOf(format), order, channels);
}

// The stored format, where the source's bytes are what would be written in it.
std::optional<SampleFormat> copiedFormat(const Waveform& waveform, const SaveOptions& options) {
  const SampleFormat stored = formatOf(waveform.storedFormat);
  const auto encoder = makeEncoder(stored, waveform.channels());
  if (!encoder || requestedFormat(waveform, options) || !isCodedAs(*waveform.samples, *encoder)) return std::nullopt;
  return stored;
}

}  // namespace

std::optional<WavePlan> planWave(const Waveform& waveform, const TargetFile& file, WaveForm form) {
  if (canCopy(waveform, file.options, form)) return planCopy(waveform);
  WavePlan plan;
  const auto copied = copiedFormat(waveform, file.options);
  plan.sampleFormat = copied ? *copied : chooseSampleFormat(file, waveform);
  if (plan.sampleFormat == SampleFormat::compressed) return fail(u"The MPEG layer 3 encoder is not available yet");
  const FormRule* rule = ruleOf(plan.sampleFormat);
  const bool isLinear = rule && (rule->tag == WaveTag::pcm || rule->tag == WaveTag::floating);
  if (!rule || (form == WaveForm::extensible && !isLinear)) return fail(u"Unsupported subformat");
  if (plan.sampleFormat == SampleFormat::gsm && waveform.channels() != 1) return fail(u"Unsupported subformat");
  plan.format = makeFormat(*rule, waveform, form);
  plan.dataBytes = dataBytesOf(*rule, waveform);
  plan.needsFrameCount = rule->tag != WaveTag::pcm || form == WaveForm::extensible;
  plan.padding = plan.sampleFormat == SampleFormat::pcm8 ? std::byte{128} : std::byte{0};
  return plan;
}

bool writeWaveData(const WavePlan& plan, const Waveform& waveform, TargetFile& file) {
  const uint64_t begin = file.sink.position();
  bool written = false;
  if (const double rate = waveform.sampleRate, whole = std::round(rate); rate != whole)
    file.report.approximated(waveform.name, u"sample rate", numberText(rate) + u" Hz", numberText(whole) + u" Hz");
  if (plan.isVerbatim) {
    const auto& stored = *waveform.samples->stored();
    written = copyBytes(*stored.source, stored.offset, stored.bytes, file.sink, file.host);
  } else if (const auto encoder = makeEncoder(plan.sampleFormat, waveform.channels())) {
    if (plan.sampleFormat == formatOf(waveform.storedFormat)) reportRecoding(waveform, *encoder, file.report);
    ClippingCount clipping;
    written = writeCoded(*waveform.samples, *encoder, file.sink, file.host, clipping);
    clipping.reportTo(file.report, waveform.name);
  } else {
    const uint32_t flags = plan.sampleFormat == SampleFormat::pcm8 ? Unsigned : 0;
    written = writeSamples(file, waveform, formatWord(plan.sampleFormat, flags));
  }
  if (!written) return false;
  return file.sink.position() - begin == plan.dataBytes || fail(u"Writing to file failed");
}

}  // namespace tervo
