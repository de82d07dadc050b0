#include "formats/instrument/sf2_tables.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "base/last_error.h"
#include "core/levels.h"
#include "formats/instrument/sf2_articulation.h"
#include "formats/instrument/sf2_region.h"
#include "formats/instrument/sf2_region_losses.h"
#include "formats/instrument/sf2_rows.h"

namespace tervo::sf2 {
namespace {

constexpr std::size_t limitOfIndices = 65536;
constexpr int16_t hardPan = 500;
constexpr std::size_t limitOfSamples = 32768;  // larger numbers mean that a zone has none

const ArticulationSet& bankDefaults() {
  static const ArticulationSet rows = articulationOf(instrumentDefaults());
  return rows;
}

void overlay(ArticulationSet& rows, const ArticulationSet& upper) {
  for (const auto& [row, value] : upper.entries()) rows.set(row, value);
}

bool setBelow(const Instrument& instrument, ParameterId row) {
  for (const auto& layer : instrument.layers()) {
    if (layer->articulation.get(row)) continue;
    for (const auto& region : layer->regions())
      if (!region->articulation.get(row)) return false;
  }
  return true;
}

/// The rows that the instrument sets, and of them those that nobody inherits.
struct SplitRows {
  ArticulationSet inherited, overridden;
};
SplitRows split(const Instrument& instrument) {
  SplitRows rows;
  for (const auto& [row, value] : instrument.articulation.entries())
    (setBelow(instrument, row) ? rows.overridden : rows.inherited).set(row, value);
  return rows;
}

/// Calls `use` with every amount of both that is added between presets and instruments.
template <typename Values, typename OtherValues, typename Use>
void forEachSummed(Values& a, OtherValues& b, const Use& use) {
  for (std::size_t i = 0; i < generatorCount; ++i)
    if (isSummed(i)) use(a.generators[i], b.generators[i]);
  for (std::size_t i = 0; i < slotCount; ++i) use(a.slots[i], b.slots[i]);
}

bool fitsAmount(int value) {
  return value >= -32768 && value <= 32767;
}

ZoneValues presetValues(const ArticulationSet& overridden) {
  ZoneValues preset = presetDefaults();
  if (overridden.empty()) return preset;
  ArticulationSet rows = bankDefaults();
  overlay(rows, overridden);
  ZoneValues values = zoneValuesOf(rows);
  forEachSummed(values, instrumentDefaults(), [](int16_t& value, int16_t usual) {
    value = static_cast<int16_t>(fitsAmount(value - usual) ? value - usual : 0);
  });
  forEachSummed(preset, values, [](int16_t& to, int16_t from) { to = from; });
  return preset;
}

/// A global zone may only take what every zone below it can make up for.
void dropWhatDoesNotFit(ZoneValues& preset, const ZoneValues& zone) {
  forEachSummed(preset, zone, [](int16_t& added, int16_t total) {
    if (!fitsAmount(total - added)) added = 0;
  });
}

void subtract(ZoneValues& zone, const ZoneValues& preset) {
  forEachSummed(zone, preset, [](int16_t& value, int16_t added) { value = static_cast<int16_t>(value - added); });
}

/// The generators that differ from `reference`; ranges come first and the sample or instrument last, as the document
/// of the format wants it (section 8.1.2).
void appendGenerators(const ZoneValues& values, const ZoneValues& reference, std::vector<GeneratorRecord>& records) {
  const auto append = [&](std::size_t i) {
    if (values.generators[i] != reference.generators[i])
      records.push_back({static_cast<uint16_t>(i), values.generators[i]});
  };
  constexpr Gen first[] = {Gen::keyRange, Gen::velocityRange}, last[] = {Gen::instrument, Gen::sampleId};
  const auto isAmong = [](const auto& list, std::size_t i) {
    return std::any_of(std::begin(list), std::end(list), [i](Gen gen) { return static_cast<std::size_t>(gen) == i; });
  };
  for (const Gen gen : first) append(static_cast<std::size_t>(gen));
  for (std::size_t i = 0; i < generatorCount; ++i)
    if (!isAmong(first, i) && !isAmong(last, i)) append(i);
  for (const Gen gen : last) append(static_cast<std::size_t>(gen));
}

void appendZone(const ZoneValues& values, const ZoneValues& reference, ZoneRecords& zones) {
  zones.bags.push_back(
      {static_cast<uint16_t>(zones.generators.size()), static_cast<uint16_t>(zones.modulators.size())});
  appendGenerators(values, reference, zones.generators);
  appendModulators(values, reference, zones.modulators);
}

template <typename Record>
std::string_view bytesOf(const std::vector<Record>& records) {
  return {reinterpret_cast<const char*>(records.data()), records.size() * sizeof(Record)};
}

bool isFull(const ZoneRecords& zones) {
  return zones.generators.size() >= limitOfIndices || zones.modulators.size() >= limitOfIndices;
}

/// Both channels of a stereo waveform stand at their sides; a region that is not in the middle moves one of them.
void placeChannel(ZoneValues& zone, bool isRight, LossTally& losses) {
  const int16_t pan = zone[Gen::pan];
  if (pan != 0) losses.approximated(u"pan of a stereo waveform", u"as it is", u"the pan of its channels");
  const int moved = isRight ? hardPan + 2 * std::min<int>(pan, 0) : -hardPan + 2 * std::max<int>(pan, 0);
  zone[Gen::pan] = static_cast<int16_t>(std::clamp<int>(moved, -hardPan, hardPan));
}

}  // namespace

bool BankTables::hasRoomForLayer() const {
  // One index of each kind is the end's.
  return presetZones_.bags.size() + 1 < limitOfIndices && presetZones_.generators.size() + 1 < limitOfIndices &&
         instruments_.size() + 1 < limitOfIndices;
}

void BankTables::warn(const Instrument& instrument) {
  constexpr TextView text = u"Too many layers & regions for this file format - some will be skipped!";
  static constexpr TextView buttons[] = {u"OK"};
  if (!warned_) file_.host.ask({text, buttons, 0});
  warned_ = true;
  file_.report.dropped(instrument.name, u"layers and regions", text);
}

bool BankTables::addRegion(const Region& region, std::vector<ZoneValues>& zones, LossTally& losses) {
  const WaveformSamples* samples = samples_.of(region.waveform);
  if (!samples) return losses.dropped(u"region", u"its waveform is not there"), true;
  if (samples->first + samples->count > limitOfSamples) return false;
  const ArticulationSet effective = effectiveArticulation(region);
  ZoneValues zone = zoneValuesOf(effective);
  noteRegionLosses(region, effective, zone, losses);
  const Range keys = keyRange(region), velocities = velocityRange(region);
  zone[Gen::keyRange] = rangeAmount(keys.low, keys.high);
  zone[Gen::velocityRange] = rangeAmount(velocities.low, velocities.high);
  const float group = effectiveValue(region, ParameterId::keyExclusionGroup);
  zone[Gen::exclusiveClass] = static_cast<int16_t>(static_cast<uint16_t>(group));
  const double gain = std::round(samples->written->gain / decibelsPerAttenuation);
  zone[Gen::attenuation] = static_cast<int16_t>(std::clamp(zone[Gen::attenuation] - gain, -32768.0, 32767.0));
  setPlaybackValues(zone, region, *samples->written, losses);
  for (std::size_t channel = 0; channel < samples->count; ++channel) {
    ZoneValues& one = zones.emplace_back(zone);
    one[Gen::sampleId] = static_cast<int16_t>(samples->first + channel);
    if (samples->count == 2) placeChannel(one, channel == 1, losses);
  }
  return true;
}

BankTables::LayerZones BankTables::zonesOf(const Layer& layer, const ArticulationSet& shared, LossTally& losses) {
  ArticulationSet rows = bankDefaults();
  overlay(rows, shared);
  overlay(rows, layer.articulation);
  LayerZones zones{zoneValuesOf(rows), {}};
  bool isComplete = true;
  for (const auto& region : layer.regions()) isComplete &= addRegion(*region, zones.zones, losses);
  if (!isComplete) warn(static_cast<const Instrument&>(*layer.parent()));
  return zones;
}

std::optional<uint16_t> BankTables::instrumentOf(const LayerZones& layer, TextView name, std::size_t number) {
  ZoneRecords own;
  if (layer.global != instrumentDefaults()) appendZone(layer.global, instrumentDefaults(), own);
  for (const ZoneValues& zone : layer.zones) appendZone(zone, layer.global, own);
  std::string key;
  key.append(bytesOf(own.bags)).append(bytesOf(own.generators)).append(bytesOf(own.modulators));
  if (const auto known = known_.find(key); known != known_.end()) return known->second;

  const auto index = static_cast<uint16_t>(instruments_.size());
  const std::string ending = number == 0 ? std::string() : fmt::format("/{}", number + 1);
  ConversionReport ofNoInterest;
  instruments_.push_back({recordName(name, ending, ofNoInterest), static_cast<uint16_t>(instrumentZones_.bags.size())});
  if (layer.global != instrumentDefaults()) appendZone(layer.global, instrumentDefaults(), instrumentZones_);
  for (const ZoneValues& zone : layer.zones) {
    appendZone(zone, layer.global, instrumentZones_);
    if (isFull(instrumentZones_)) return std::nullopt;
  }
  known_.emplace(std::move(key), index);
  return index;
}

bool BankTables::add(const Instrument& instrument) {
  LossTally losses;
  if (instrument.synth()) losses.dropped(u"synthesis voice", u"the file has no place for it");
  if (instrument.bankLsb != 0) losses.dropped(u"Minor MIDI bank number", u"the file has no place for it");
  if (instrument.drum && instrument.bankMsb != 0) losses.dropped(u"Major MIDI bank number", u"drums are in bank 128");

  const SplitRows rows = split(instrument);
  ZoneValues preset = presetValues(rows.overridden);
  std::vector<LayerZones> layers;
  for (const auto& layer : instrument.layers()) {
    layers.push_back(zonesOf(*layer, rows.inherited, losses));
    dropWhatDoesNotFit(preset, layers.back().global);
    for (const ZoneValues& zone : layers.back().zones) dropWhatDoesNotFit(preset, zone);
  }

  presets_.push_back({recordName(instrument.name, {}, file_.report), instrument.program,
                      instrument.drum ? drumBank : instrument.bankMsb, static_cast<uint16_t>(presetZones_.bags.size()),
                      0, 0, 0});
  if (preset != presetDefaults()) appendZone(preset, presetDefaults(), presetZones_);
  for (std::size_t i = 0; i < layers.size(); ++i) {
    if (!hasRoomForLayer()) {
      warn(instrument);
      break;
    }
    subtract(layers[i].global, preset);
    for (ZoneValues& zone : layers[i].zones) subtract(zone, preset);
    ZoneValues zone = preset;
    const auto index = instrumentOf(layers[i], instrument.name, i);
    if (!index || isFull(presetZones_))
      return fail(
          u"Save failed - Too much data!\n\nThe SF2 file format is by its construction limited to storing a "
          u"maximum of 65536 parameter values...nRemove some instruments then try saving again!\n");
    zone[Gen::instrument] = static_cast<int16_t>(*index);
    appendZone(zone, preset, presetZones_);
  }
  losses.reportTo(file_.report, instrument.name);
  return true;
}

}  // namespace tervo::sf2
