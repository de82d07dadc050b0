#include "formats/writer_rules.h"

#include "core/collection.h"
#include "core/instrument.h"
#include "formats/number_text.h"

namespace tervo {
namespace {

constexpr uint8_t preferDefault = 21;

/// BitDepthMask, CodedFormatMask and the bit of compressed data number the formats as SampleFormat does. The two bits
/// above ADPCM 5-bit do not stand for formats that a writer takes.
bool holds(uint32_t flags, SampleFormat format) {
  const auto value = static_cast<unsigned>(format);
  const bool writable = format <= SampleFormat::adpcm5 || format == SampleFormat::compressed;
  return writable && (flags >> value & 1) != 0;
}
static_assert(CodedFormatMask::adpcm5 == formatWord(SampleFormat::adpcm5));
static_assert(FormatFlags::compressed == formatWord(SampleFormat::compressed));

SampleFormat storedFormatOf(const Waveform& waveform) {
  const SampleFormat stored = formatOf(waveform.storedFormat);
  return stored == SampleFormat::none ? formatOf(waveform.coding).format : stored;
}

/// The plain format that holds every value of a format: 16 bits for what is decoded.
SampleFormat decodedFormat(SampleFormat format) {
  if (format <= SampleFormat::float64) return format;
  return format == SampleFormat::deltaPcm8 ? SampleFormat::pcm8 : SampleFormat::pcm16;
}

bool isFloat(SampleFormat format) {
  return format == SampleFormat::float32 || format == SampleFormat::float64;
}

/// Whether `target` has room for every value of `source`. A 32-bit float has 24 bits of precision.
bool keepsAll(SampleFormat target, SampleFormat source) {
  if (target == source || target == SampleFormat::float64) return true;
  if (target > SampleFormat::float64) return false;
  const SampleFormat plain = decodedFormat(source);
  if (target == SampleFormat::float32) return plain == SampleFormat::float32 || bitsOf(plain) <= 24;
  return !isFloat(plain) && bitsOf(target) >= bitsOf(plain);
}

constexpr SampleFormat smallestFirst[] = {SampleFormat::pcm8,    SampleFormat::pcm12,  SampleFormat::pcm16,
                                          SampleFormat::pcm20,   SampleFormat::pcm24,  SampleFormat::pcm32,
                                          SampleFormat::float32, SampleFormat::float64};
constexpr SampleFormat finestFirst[] = {
    SampleFormat::float64, SampleFormat::float32, SampleFormat::pcm32,  SampleFormat::pcm24,
    SampleFormat::pcm20,   SampleFormat::pcm16,   SampleFormat::pcm12,  SampleFormat::muLaw,
    SampleFormat::aLaw,    SampleFormat::pcm8,    SampleFormat::adpcm5, SampleFormat::compressed,
    SampleFormat::adpcm4,  SampleFormat::gsm,     SampleFormat::adpcm3, SampleFormat::adpcm2};

SampleFormat nearestHeld(uint32_t flags, SampleFormat wanted) {
  if (holds(flags, wanted)) return wanted;
  for (const SampleFormat format : smallestFirst)
    if (holds(flags, format) && keepsAll(format, wanted)) return format;
  for (const SampleFormat format : finestFirst)
    if (holds(flags, format)) return format;
  return SampleFormat::none;
}

/// Whether coding decoded samples again in the same family loses something again. G.711 does not.
bool losesEachTime(SampleFormat format) {
  return (format >= SampleFormat::gsm && format <= SampleFormat::adpcm5) || format == SampleFormat::compressed;
}

/// Nobody asked: what the source had, but not one lossy coding after another where plain samples can be written.
SampleFormat automaticFormat(uint32_t flags, SampleFormat stored) {
  const SampleFormat wanted = losesEachTime(stored) ? decodedFormat(stored) : stored;
  const SampleFormat chosen = nearestHeld(flags, wanted);
  return keepsAll(chosen, wanted) ? chosen : nearestHeld(flags, stored);
}

// Headerless files of codings that telephony defines for one rate; everybody who opens them assumes it.
struct FixedRate {
  TextView extension;
  double rate;
};
constexpr FixedRate fixedRates[] = {
    {u"alaw", 8000},  {u"alw", 8000},       {u"ulaw", 8000},  {u"ulw", 8000},    {u"u255law", 8000}, {u"gsm", 8000},
    {u"g721*", 8000}, {u"g723*", 8000},     {u"g726*", 8000}, {u"g722*", 16000}, {u"vox-6k", 6000},  {u"vox-8k", 8000},
    {u"vox", 8000},   {u"rockwell*", 7200}, {u"amr", 8000},   {u"cod", 8000},
};

/// The channel counts that are written for some waveforms: 0 none yet, 1, 2, or mixed.
class CommonCount {
 public:
  void add(int count) { value_ = value_ == 0 || value_ == count ? count : mixed; }
  int value() const { return value_ == mixed ? 0 : value_; }

 private:
  static constexpr int mixed = -1;
  int value_ = 0;
};

void addChannels(CommonCount& counts, uint32_t flags, const Waveform* waveform) {
  if (waveform) counts.add(channelsFor(flags, waveform->channels()));
}

void addChannels(CommonCount& counts, uint32_t flags, const Layer& layer) {
  for (const auto& region : layer.regions()) addChannels(counts, flags, findItem<Waveform>(region->waveform));
}

void addItem(CommonCount& counts, uint32_t flags, const Item& item) {
  switch (item.kind()) {
    case ItemKind::waveform:
      return addChannels(counts, flags, static_cast<const Waveform*>(&item));
    case ItemKind::region:
      return addChannels(counts, flags, findItem<Waveform>(static_cast<const Region&>(item).waveform));
    case ItemKind::layer:
      return addChannels(counts, flags, static_cast<const Layer&>(item));
    case ItemKind::instrument:
      for (const auto& layer : static_cast<const Instrument&>(item).layers()) addChannels(counts, flags, *layer);
      return;
    case ItemKind::collection:
      for (const auto& waveform : static_cast<const Collection&>(item).waveforms())
        addChannels(counts, flags, waveform.get());
      return;
    default:
      return;
  }
}

}  // namespace

WriterInfo WriterFlags(FormatIndex index) {
  const FormatDescriptor* row = rowAt(index);
  if (!row) return {};
  for (const FormatDescriptor* next = row; next; next = rowAt(++index))
    if ((next->declared & DeclaredOps::write) && equalNoCase(next->extension, row->extension))
      return {next->flags, next->variant};
  return {row->flags, row->variant};
}

int channelsFor(uint32_t flags, int channels) {
  if (channels <= 1) return flags & FormatFlags::mono ? 1 : 2;
  return flags & (FormatFlags::stereo | FormatFlags::stereoWaves) ? 2 : 1;
}

int WriterChannels(FormatIndex index, const Item& item) {
  CommonCount counts;
  addItem(counts, WriterFlags(index).flags, item);
  return counts.value();
}

std::optional<SampleFormat> requestedFormat(const Waveform& waveform, const SaveOptions& options) {
  if (options.format) return options.format;
  if (options.coding) return formatOf(*options.coding).format;
  if (waveform.preferredFormat < preferDefault) return formatOf(SampleCoding{waveform.preferredFormat}).format;
  return std::nullopt;
}

SampleFormat chooseSampleFormat(const FormatDescriptor& row, const Waveform& waveform, const SaveOptions& options) {
  const auto requested = requestedFormat(waveform, options);
  return requested ? nearestHeld(row.flags, *requested) : automaticFormat(row.flags, storedFormatOf(waveform));
}

SampleFormat chooseSampleFormat(const TargetFile& file, const Waveform& waveform) {
  const SampleFormat chosen = chooseSampleFormat(file.row, waveform, file.options);
  if (chosen == SampleFormat::none) return chosen;
  const SampleFormat stored = storedFormatOf(waveform);
  // No sample format stands for wider integers than 32 bits.
  if (waveform.storedBits > 32 && stored == SampleFormat::pcm32 && waveform.samples && waveform.samples->stored())
    file.report.approximated(waveform.name, u"bits per sample", numberText(waveform.storedBits), u"32 at most");
  const SampleFormat requested = requestedFormat(waveform, file.options).value_or(chosen);
  if (requested != chosen)
    file.report.approximated(waveform.name, u"sample format", nameOf(requested), nameOf(chosen));
  else if (!keepsAll(chosen, stored))
    file.report.approximated(waveform.name, u"sample format", nameOf(stored), nameOf(chosen));
  else if (chosen != stored && losesEachTime(stored))
    file.report.add({waveform.name, u"sample format", ReportKind::kept, Text(nameOf(stored)), Text(nameOf(chosen))});
  return chosen;
}

std::optional<double> fixedRateOf(const FormatDescriptor& row) {
  for (const FixedRate& fixed : fixedRates)
    if (matchesExtension(row.extension, fixed.extension)) return fixed.rate;
  return std::nullopt;
}

}  // namespace tervo
