#include "formats/instrument/sf2_writer.h"

#include <algorithm>
#include <unordered_set>

#include "base/byte_writer.h"
#include "base/file_text.h"
#include "base/last_error.h"
#include "core/collection.h"
#include "formats/instrument/sf2_articulation.h"
#include "formats/instrument/sf2_marker_losses.h"
#include "formats/instrument/sf2_reader.h"
#include "formats/instrument/sf2_sample_writer.h"
#include "formats/instrument/sf2_stream_writer.h"
#include "formats/instrument/sf2_tables.h"
#include "formats/number_text.h"
#include "formats/wave/info_tags.h"

namespace tervo {
namespace {

constexpr std::string_view soundEngine = "EMU8000", bankSoftware = "Tervo Studio v12.9";

/// What goes into a bank.
struct Content {
  TextView name;
  Tags tags;
  std::vector<const Instrument*> instruments;
  std::vector<const Waveform*> waveforms;
  std::vector<std::unique_ptr<Instrument>> made;  ///< for waveforms that no instrument plays
};

void noteTags(const Waveform& waveform, ConversionReport& report) {
  const auto& texts = waveform.tags.texts;
  const bool hasTexts = std::any_of(texts.begin(), texts.end() - 1, [](const Text& text) { return !text.empty(); });
  if (hasTexts || waveform.tags.image) report.dropped(waveform.name, u"tags", u"the file has no place for them");
}

void addInstrument(Content& content, const Instrument& instrument, ConversionReport& report) {
  content.name = instrument.name;
  content.instruments.push_back(&instrument);
  std::unordered_set<ItemId> seen;
  for (const auto& layer : instrument.layers()) {
    for (const auto& region : layer->regions()) {
      const Waveform* waveform = findItem<Waveform>(region->waveform);
      if (!waveform || !seen.insert(waveform->id()).second) continue;
      content.waveforms.push_back(waveform);
      noteTags(*waveform, report);
    }
  }
}

/// An instrument that plays the waveform as a bank does anyway.
std::unique_ptr<Instrument> instrumentFor(const Waveform& waveform) {
  auto instrument = std::make_unique<Instrument>();
  instrument->name = waveform.name;
  Region& region = instrument->add(std::make_unique<Layer>()).add(std::make_unique<Region>());
  region.waveform = waveform.id();
  region.articulation = sf2::articulationOf(sf2::instrumentDefaults());
  return instrument;
}

void addWaveform(Content& content, const Waveform& waveform) {
  content.name = waveform.name;
  content.tags = waveform.tags;
  content.tags[Tag::sourceFile].clear();
  content.waveforms.push_back(&waveform);
  content.made.push_back(instrumentFor(waveform));
}

/// A bank of nothing but samples would play nothing: each gets a preset, numbered on through all banks of programs.
void addPresets(Content& content, ConversionReport& report) {
  constexpr std::size_t programs = 128, banks = 128;
  for (const Waveform* waveform : content.waveforms) {
    if (!waveform->holdsData()) continue;
    const std::size_t number = content.made.size();
    if (number == programs * banks)
      return report.dropped(waveform->name, u"preset, as of all waveforms behind it", u"there are no more numbers");
    auto& made = content.made.emplace_back(instrumentFor(*waveform));
    made->program = static_cast<uint8_t>(number % programs);
    made->bankMsb = static_cast<uint8_t>(number / programs);
  }
}

void addCollection(Content& content, const Collection& collection, ConversionReport& report) {
  content.name = collection.name;
  content.tags = collection.tags;
  for (const auto& instrument : collection.instruments()) content.instruments.push_back(instrument.get());
  for (const auto& waveform : collection.waveforms()) content.waveforms.push_back(waveform.get());
  if (content.instruments.empty()) addPresets(content, report);
  for (const auto& song : collection.songs()) report.dropped(song->name, u"song", u"the file has no place for it");
  // Those of a waveform that is saved alone are the bank's.
  for (const Waveform* waveform : content.waveforms) noteTags(*waveform, report);
}

std::optional<Content> contentOf(const Item& item, ConversionReport& report) {
  Content content;
  switch (item.kind()) {
    case ItemKind::collection:
      addCollection(content, static_cast<const Collection&>(item), report);
      break;
    case ItemKind::instrument:
      addInstrument(content, static_cast<const Instrument&>(item), report);
      break;
    case ItemKind::waveform:
      addWaveform(content, static_cast<const Waveform&>(item));
      break;
    default:
      return fail(u"The file format can not save this item");
  }
  for (const auto& instrument : content.made) content.instruments.push_back(instrument.get());
  return content;
}

/// The texts of a bank, by the document of the format, and the bytes of the longest with the zero that ends it.
struct BankText {
  FourCC id;
  Tag tag;
  std::size_t limit;
};
constexpr BankText bankTexts[] = {
    {"INAM", Tag::name, 256},      {"IENG", Tag::engineer, 256},   {"IPRD", Tag::product, 256},
    {"ICOP", Tag::copyright, 256}, {"ICMT", Tag::comments, 65536},
};

struct Version {
  uint16_t major, minor;
};
Version versionFor(const sf2::SamplePlan& plan) {
  if (plan.storage() == sf2::SampleStorage::streams) return {3, 0};
  return {2, static_cast<uint16_t>(plan.is24Bit() ? 4 : 1)};
}

Text bytesText(std::size_t count) {
  return numberText(static_cast<double>(count)) + u" bytes";
}

void writeInfo(ByteWriter& writer, const Content& content, Version version, ConversionReport& report) {
  const ChunkScope list(writer, "LIST");
  writer.chars("INFO");
  {
    const ChunkScope chunk(writer, "ifil");
    writer.little(version.major);
    writer.little(version.minor);
  }
  writeInfoText(writer, "isng", soundEngine, InfoSize::even);
  for (const BankText& field : bankTexts) {
    // A bank must have a name (section 5.4).
    const bool isName = field.tag == Tag::name;
    const Text text = isName && content.tags[Tag::name].empty() ? Text(content.name) : content.tags[field.tag];
    if (text.empty()) continue;
    const std::string bytes = toFileText(text);
    const std::string_view held = cutFileText(bytes, field.limit - 1);
    if (held.size() < bytes.size())
      report.approximated(content.name, nameOf(field.tag), bytesText(bytes.size()), bytesText(held.size()));
    writeInfoText(writer, field.id, held, InfoSize::even);
  }
  writeInfoText(writer, infoSoftware, bankSoftware, InfoSize::even);
  if (!content.tags[Tag::artist].empty()) report.dropped(content.name, u"Artist", u"the file has no place for it");
  if (content.tags.image) report.dropped(content.name, u"Image", u"the file has no place for it");
}

template <typename Record>
void writeTable(ByteWriter& writer, FourCC id, const std::vector<Record>& records, const Record& end) {
  const ChunkScope chunk(writer, id);
  writer.bytes(std::as_bytes(std::span(records)));
  writer.record(end);
}

sf2::RecordName endName(std::string_view name) {
  sf2::RecordName record{};
  std::copy(name.begin(), name.end(), record.begin());
  return record;
}

void writeZones(ByteWriter& writer, std::array<FourCC, 3> ids, const sf2::ZoneRecords& zones) {
  const sf2::BagRecord end{static_cast<uint16_t>(zones.generators.size()),
                           static_cast<uint16_t>(zones.modulators.size())};
  writeTable(writer, ids[0], zones.bags, end);
  writeTable(writer, ids[1], zones.modulators, {});
  writeTable(writer, ids[2], zones.generators, {});
}

void writeTables(ByteWriter& writer, const sf2::BankTables& tables, const sf2::SamplePlan& plan) {
  const ChunkScope list(writer, "LIST");
  writer.chars("pdta");
  const auto presetEnd = static_cast<uint16_t>(tables.presetZones().bags.size());
  const auto instrumentEnd = static_cast<uint16_t>(tables.instrumentZones().bags.size());
  writeTable(writer, "phdr", tables.presets(), {endName("EOP"), 0, 0, presetEnd, 0, 0, 0});
  writeZones(writer, {"pbag", "pmod", "pgen"}, tables.presetZones());
  writeTable(writer, "inst", tables.instruments(), {endName("EOI"), instrumentEnd});
  writeZones(writer, {"ibag", "imod", "igen"}, tables.instrumentZones());
  std::vector<sf2::SampleRecord> records;
  for (const auto& sample : plan.samples()) records.push_back(sample.record);
  writeTable(writer, "shdr", records, {endName("EOS"), 0, 0, 0, 0, 0, 0, 0, 0, 0});
}

/// False with LastErrorText when the bank has no room for all parameters, however they are packed.
bool layOut(sf2::BankTables& tables, const std::vector<sf2::PresetPlan>& presets) {
  for (const auto packing : {sf2::Packing::byLayer, sf2::Packing::byRun, sf2::Packing::byVelocity}) {
    tables = {};
    const bool fits = std::all_of(presets.begin(), presets.end(),
                                  [&](const sf2::PresetPlan& preset) { return tables.add(preset, packing); });
    if (fits) return true;
  }
  return false;
}

void warnOf(const std::vector<const Instrument*>& incomplete, TargetFile& file) {
  constexpr TextView text = u"Too many layers & regions for this file format - some will be skipped!";
  static constexpr TextView buttons[] = {u"OK"};
  if (!incomplete.empty()) file.host.ask({text, buttons, 0});
  for (const Instrument* instrument : incomplete) file.report.dropped(instrument->name, u"layers and regions", text);
}

}  // namespace

bool writeSf2(const Item& item, TargetFile& file, uint32_t variant) {
  const auto content = contentOf(item, file.report);
  if (!content) return false;
  const bool isCompressed = variant == compressedBank;
  sf2::SamplePlan plan(isCompressed ? sf2::SampleStorage::streams : sf2::SampleStorage::words);
  if (!plan.add(content->waveforms, file)) return false;
  plan.linkPairs(content->instruments);
  sf2::noteMarkerLosses(content->waveforms, content->instruments, file.report);
  sf2::ConvertedArticulations converted;
  std::vector<sf2::PresetPlan> presets;
  for (const Instrument* instrument : content->instruments)
    presets.push_back(sf2::planPreset(*instrument, plan, converted, file.report));
  sf2::BankTables tables;
  if (!layOut(tables, presets)) return false;
  warnOf(tables.incomplete(), file);

  ByteWriter writer(file.sink);
  {
    const ChunkScope form(writer, "RIFF");
    writer.chars("sfbk");
    writeInfo(writer, *content, versionFor(plan), file.report);
    const bool written =
        isCompressed ? sf2::writeStreams(writer, plan, file) : sf2::writeSampleData(writer, plan, file);
    if (!written) return false;
    plan.reportSilenced(file.report);
    writeTables(writer, tables, plan);
  }
  return writer.ok();
}

}  // namespace tervo
