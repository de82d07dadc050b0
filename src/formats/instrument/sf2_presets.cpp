#include "formats/instrument/sf2_presets.h"

#include <algorithm>
#include <optional>
#include <unordered_set>

#include "formats/instrument/sf2_combined_zones.h"
#include "formats/instrument/sf2_layer_maker.h"
#include "formats/instrument/sf2_region.h"
#include "formats/instrument/sf2_zone_reader.h"

namespace tervo::sf2 {
namespace {

/// More regions than a bank of this size that was made for playing has, each zone at least once; bounds the memory that
/// a small file can ask for, in which every zone of a preset names the same large instrument.
std::size_t mostRegions(const Bank& bank) {
  constexpr uint64_t few = 8192, many = 131072, bytesPerRegion = 64;
  const auto bySize = static_cast<std::size_t>(std::clamp(bank.source->size() / bytesPerRegion, few, many));
  return bySize + bank.instrumentZones.bags.size();
}

/// The last one only ends the table.
std::size_t lastBag(const ZoneRecords& zones) {
  return zones.bags.empty() ? 0 : zones.bags.size() - 1;
}

class PresetReader {
 public:
  PresetReader(Collection& collection, const Bank& bank, const std::vector<Waveform*>& waveforms,
               const SourceFile& file, LossTally& losses)
      : collection_(collection),
        bank_(bank),
        waveforms_(waveforms),
        file_(file),
        rules_(rulesFor(bank)),
        losses_(losses),
        presetZones_(bank.presetZones, losses),
        instrumentZones_(bank.instrumentZones, losses),
        presetBags_(bagSpans(bank.presets, bank.presetBagsEnd, lastBag(bank.presetZones), losses)),
        instrumentBags_(bagSpans(bank.instruments, bank.instrumentBagsEnd, lastBag(bank.instrumentZones), losses)),
        zonesOf_(bank.instruments.size()),
        articulations_(bank) {}

  void readAll() {
    std::vector<std::vector<ZoneValues>> zones;
    for (std::size_t i = 0; i < bank_.presets.size(); ++i) zones.push_back(presetZonesOf(i));
    chooseLoopCounts(zones);
    for (std::size_t i = 0; i < bank_.presets.size(); ++i) readPreset(bank_.presets[i], zones[i]);
    noteUnplayed();
  }

 private:
  /// The preset's zones that name an instrument; in front of them its global zone, which names none.
  std::vector<ZoneValues> presetZonesOf(std::size_t preset) {
    LossTally losses;
    std::vector<ZoneValues> zones{rules_.preset};
    for (std::size_t bag = presetBags_[preset].first; bag < presetBags_[preset].end; ++bag) {
      ZoneValues values = zones.front();
      presetZones_.apply(bag, values, losses);
      const auto instrument = static_cast<uint16_t>(values[Gen::instrument]);
      const bool namesOne = instrument < bank_.instruments.size();
      if (namesOne)
        zones.push_back(values);
      else if (values[Gen::instrument] == -1 && bag == presetBags_[preset].first)
        zones.front() = values;
      else
        losses.dropped(u"zone of a preset", u"it names no instrument");
    }
    losses.reportTo(file_.report, fromFileText(nameIn(bank_.presets[preset].name)));
    return zones;
  }

  /// The zones of a bank's instrument that name a sample, each with what the global zone says, and what was lost of it:
  /// that is every preset's that plays it.
  struct InstrumentZones {
    std::vector<ZoneValues> zones;
    LossTally losses;
  };
  /// Read once.
  const InstrumentZones& zonesOf(std::size_t instrument) {
    auto& known = zonesOf_[instrument];
    if (known) return *known;
    auto& [zones, losses] = known.emplace();
    ZoneValues global = rules_.instrument;
    for (std::size_t bag = instrumentBags_[instrument].first; bag < instrumentBags_[instrument].end; ++bag) {
      ZoneValues values = global;
      instrumentZones_.apply(bag, values, losses);
      if (values[Gen::sampleId] >= 0)
        zones.push_back(values);
      else if (bag == instrumentBags_[instrument].first)
        global = values;
      else
        losses.dropped(u"zone of an instrument", u"it names no sample");
    }
    return *known;
  }

  void noteUnplayed() {
    constexpr std::size_t mostNames = 100;  // a file of lies can have tens of thousands
    std::size_t count = 0;
    for (std::size_t i = 0; i < bank_.instruments.size(); ++i) {
      if (zonesOf_[i]) continue;
      const Text name = fromFileText(nameIn(bank_.instruments[i].name));
      losses_.dropped(++count <= mostNames ? u"instrument \"" + name + u"\"" : Text(u"another instrument"),
                      u"no preset plays it");
    }
  }

  Waveform* waveformOf(const ZoneValues& zone) const {
    const auto sample = static_cast<uint16_t>(zone[Gen::sampleId]);
    return sample < waveforms_.size() ? waveforms_[sample] : nullptr;
  }

  /// A loop that every zone leaves at note-off ends there for whoever plays the waveform.
  void chooseLoopCounts(const std::vector<std::vector<ZoneValues>>& presets) {
    std::vector<bool> always(waveforms_.size()), untilRelease(waveforms_.size());
    std::vector<bool> isDone(bank_.instruments.size());
    for (const auto& zones : presets) {
      for (std::size_t i = 1; i < zones.size(); ++i) {
        const auto instrument = static_cast<uint16_t>(zones[i][Gen::instrument]);
        if (isDone[instrument]) continue;
        isDone[instrument] = true;
        for (const ZoneValues& zone : zonesOf(instrument).zones) {
          const auto sample = static_cast<uint16_t>(zone[Gen::sampleId]);
          if (sample >= waveforms_.size()) continue;
          if (zone[Gen::sampleModes] == loopsAlways) always[sample] = true;
          if (zone[Gen::sampleModes] == loopsUntilRelease) untilRelease[sample] = true;
        }
      }
    }
    for (std::size_t i = 0; i < waveforms_.size(); ++i) {
      if (always[i] || !untilRelease[i] || !waveforms_[i]) continue;
      for (Marker& marker : waveforms_[i]->markers) marker.loopCount = loopUntilRelease;
    }
  }

  void readPreset(const PresetRecord& preset, const std::vector<ZoneValues>& zones) {
    auto& instrument = collection_.add(std::make_unique<Instrument>());
    instrument.name = fromFileText(nameIn(preset.name));
    instrument.program = preset.program & 0x7F;
    instrument.bankMsb = preset.bank & 0x7F;
    instrument.drum = preset.bank == drumBank;
    instrument.articulation = globalRows(rules_, zones.front());
    LossTally losses;
    std::unordered_set<int16_t> played;
    for (std::size_t i = 1; i < zones.size(); ++i) {
      const int16_t index = zones[i][Gen::instrument];
      if (played.insert(index).second) losses.add(zonesOf(static_cast<uint16_t>(index)).losses);
      readPresetZone(instrument, zones[i], losses);
    }
    const bool isOther = preset.program > 127 || preset.bank > drumBank;
    if (isOther) losses.approximated(u"program or bank number", u"above the highest", u"its low 7 bits");
    if (preset.library != 0 || preset.genre != 0 || preset.morphology != 0)
      losses.dropped(u"library, genre or morphology", u"the document has no place for them");
    losses.reportTo(file_.report, instrument.name);
  }

  void readPresetZone(Instrument& instrument, const ZoneValues& preset, LossTally& losses) {
    for (std::size_t i = 0; i < generatorCount; ++i) {
      const bool isOwn = i == static_cast<std::size_t>(Gen::instrument) ||
                         i == static_cast<std::size_t>(Gen::keyRange) ||
                         i == static_cast<std::size_t>(Gen::velocityRange);
      if (!isSummed(i) && !isOwn && preset.generators[i] != rules_.preset.generators[i] && bank_.majorVersion != 1)
        losses.dropped(u"generator of a preset", u"only zones of instruments can have it");
    }
    LayerMaker layers(instrument);
    for (const ZoneValues& zone : zonesOf(static_cast<uint16_t>(preset[Gen::instrument])).zones) {
      if (regions_ >= mostRegions(bank_)) return losses.dropped(u"zones", u"the bank has too many of them");
      addRegion(layers, zone, preset, losses);
    }
  }

  void addRegion(LayerMaker& layers, const ZoneValues& zone, const ZoneValues& preset, LossTally& losses) {
    const auto keys = commonRange(zone, preset, Gen::keyRange),
               velocities = commonRange(zone, preset, Gen::velocityRange);
    if (!keys || !velocities)
      return losses.dropped(u"zone of an instrument", u"the preset plays none of its keys or velocities");
    Waveform* waveform = waveformOf(zone);
    if (!waveform) return losses.dropped(u"zone", u"its sample is not there");
    ++regions_;
    const auto sample = static_cast<uint16_t>(zone[Gen::sampleId]);
    Region& region = layers.add(*keys, *velocities, sample, bank_.samples[sample]);
    region.waveform = waveform->id();
    const ZoneValues values = rules_.combine(zone, preset, bank_.samples[sample], losses);
    region.articulation = articulations_.of(values, losses);
    setPlayback(region, *waveform, values, losses);
    if (const auto group = static_cast<uint16_t>(values[Gen::exclusiveClass]); group != 0)
      region.trigger.set(ParameterId::keyExclusionGroup, group);
    for (const Gen fixed : {Gen::keyNumber, Gen::velocity})
      if (values[fixed] >= 0)
        losses.dropped(fixed == Gen::velocity ? u"fixed velocity" : u"fixed key number",
                       u"the document has no place for it");
  }

  Collection& collection_;
  const Bank& bank_;
  const std::vector<Waveform*>& waveforms_;
  const SourceFile& file_;
  ZoneRules rules_;
  LossTally& losses_;  ///< of the bank
  ZoneReader presetZones_, instrumentZones_;
  std::vector<IndexSpan> presetBags_, instrumentBags_;
  std::vector<std::optional<InstrumentZones>> zonesOf_;
  KnownArticulations articulations_;
  std::size_t regions_ = 0;
};

}  // namespace

void addInstruments(Collection& collection, const Bank& bank, const std::vector<Waveform*>& waveforms,
                    const SourceFile& file, LossTally& losses) {
  PresetReader(collection, bank, waveforms, file, losses).readAll();
}

}  // namespace tervo::sf2
