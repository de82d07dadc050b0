#include "formats/instrument/sf2_preset_plan.h"

#include <algorithm>
#include <bit>
#include <cmath>

#include "core/levels.h"
#include "formats/instrument/sf2_articulation.h"
#include "formats/instrument/sf2_region.h"
#include "formats/instrument/sf2_region_losses.h"
#include "formats/instrument/sf2_rows.h"
#include "formats/loss_tally.h"

namespace tervo::sf2 {
namespace {

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

bool isWithin16Bits(const ZoneValues& zone, const ZoneValues& preset) {
  int beyond = 0;
  const auto look = [&beyond](int difference) { beyond |= difference ^ static_cast<int16_t>(difference); };
  for (std::size_t i = 0; i < generatorCount; ++i) look(zone.generators[i] - (preset.generators[i] & summedMask[i]));
  for (std::size_t i = 0; i < slotCount; ++i) look(zone.slots[i] - preset.slots[i]);
  return beyond == 0;
}

/// A global zone may only take what every zone below it can make up for.
void dropWhatDoesNotFit(ZoneValues& preset, const ZoneValues& zone) {
  if (isWithin16Bits(zone, preset)) return;
  forEachSummed(preset, zone, [](int16_t& added, int16_t total) {
    if (!fitsAmount(total - added)) added = 0;
  });
}

void subtract(ZoneValues& zone, const ZoneValues& preset) {
  for (std::size_t i = 0; i < generatorCount; ++i)
    zone.generators[i] = static_cast<int16_t>(zone.generators[i] - (preset.generators[i] & summedMask[i]));
  for (std::size_t i = 0; i < slotCount; ++i) zone.slots[i] = static_cast<int16_t>(zone.slots[i] - preset.slots[i]);
}

/// Both channels of a stereo waveform stand at their sides; a region that is not in the middle moves one of them.
void placeChannel(ZoneValues& zone, bool isRight, LossTally& losses) {
  const int16_t pan = zone[Gen::pan];
  if (pan != 0) losses.approximated(u"pan of a stereo waveform", u"as it is", u"the pan of its channels");
  const int moved = isRight ? hardPan + 2 * std::min<int>(pan, 0) : -hardPan + 2 * std::max<int>(pan, 0);
  zone[Gen::pan] = static_cast<int16_t>(std::clamp<int>(moved, -hardPan, hardPan));
}

class PresetPlanner {
 public:
  PresetPlanner(const SamplePlan& samples, ConvertedArticulations& converted, LossTally& losses)
      : samples_(samples), converted_(converted), losses_(losses) {}

  PresetPlan plan(const Instrument& instrument) const {
    const SplitRows rows = split(instrument);
    PresetPlan plan{&instrument, {}, presetValues(rows.overridden), {}};
    for (const auto& layer : instrument.layers()) {
      plan.layers.push_back(zonesOf(*layer, rows.inherited));
      if (rows.overridden.empty()) continue;
      dropWhatDoesNotFit(plan.global, plan.layers.back().inherited);
      for (const ZoneValues& zone : plan.layers.back().zones) dropWhatDoesNotFit(plan.global, zone);
    }
    if (plan.global == presetDefaults()) return plan;
    for (LayerZones& layer : plan.layers) {
      subtract(layer.inherited, plan.global);
      for (ZoneValues& zone : layer.zones) subtract(zone, plan.global);
    }
    return plan;
  }

 private:
  bool addRegion(const Region& region, std::vector<ZoneValues>& zones) const;
  LayerZones zonesOf(const Layer& layer, const ArticulationSet& shared) const;

  const SamplePlan& samples_;
  ConvertedArticulations& converted_;
  LossTally& losses_;
};

/// False when its samples have numbers that are too high.
bool PresetPlanner::addRegion(const Region& region, std::vector<ZoneValues>& zones) const {
  const WaveformSamples* samples = samples_.of(region.waveform);
  if (!samples) return losses_.dropped(u"region", u"its waveform is not there"), true;
  if (samples->first + samples->count > limitOfSamples) return false;
  const Range keys = keyRange(region), velocities = velocityRange(region);
  if (keys.low > keys.high || velocities.low > velocities.high)
    return losses_.dropped(u"region", u"its range of keys or velocities is empty"), true;
  const ArticulationSet effective = effectiveArticulation(region);
  const auto& [values, isExact] = converted_.of(effective);
  if (!isExact) noteArticulationLosses(effective, articulationOf(values), losses_);
  noteRegionLosses(region, values, losses_);
  ZoneValues zone = values;
  zone[Gen::keyRange] = rangeAmount(keys.low, keys.high);
  zone[Gen::velocityRange] = rangeAmount(velocities.low, velocities.high);
  const float group = effectiveValue(region, ParameterId::keyExclusionGroup);
  zone[Gen::exclusiveClass] = static_cast<int16_t>(static_cast<uint16_t>(group));
  const double gain = std::round(samples->written->gain / decibelsPerAttenuation);
  zone[Gen::attenuation] = static_cast<int16_t>(std::clamp(zone[Gen::attenuation] - gain, -32768.0, 32767.0));
  setPlaybackValues(zone, region, *samples->written, losses_);
  for (std::size_t channel = 0; channel < samples->count; ++channel) {
    ZoneValues& one = zones.emplace_back(zone);
    one[Gen::sampleId] = static_cast<int16_t>(samples->first + channel);
    if (samples->count == 2) placeChannel(one, channel == 1, losses_);
  }
  return true;
}

LayerZones PresetPlanner::zonesOf(const Layer& layer, const ArticulationSet& shared) const {
  LayerZones zones{instrumentDefaults(), {}, true};
  if (!shared.empty() || !layer.articulation.empty()) {
    ArticulationSet rows = bankDefaults();
    overlay(rows, shared);
    overlay(rows, layer.articulation);
    zones.inherited = converted_.of(rows).values;
  }
  zones.zones.reserve(layer.regions().size());
  bool isComplete = true;
  for (const auto& region : layer.regions()) isComplete &= addRegion(*region, zones.zones);
  zones.isComplete = isComplete;
  return zones;
}

}  // namespace

std::size_t ConvertedArticulations::Hash::operator()(const ArticulationSet& rows) const {
  constexpr uint64_t factor = 0x9E3779B97F4A7C15;
  const auto entries = rows.entries();
  uint64_t even = entries.size(), odd = 0;  // of rows by turns, because a product waits for the one before it
  for (std::size_t i = 0; i + 1 < entries.size(); i += 2) {
    even = (even ^ std::bit_cast<uint32_t>(entries[i].second)) * factor;
    odd = (odd ^ std::bit_cast<uint32_t>(entries[i + 1].second)) * factor;
  }
  if (entries.size() % 2 == 1) even = (even ^ std::bit_cast<uint32_t>(entries.back().second)) * factor;
  const uint64_t hash = (even ^ std::rotl(odd, 17)) * factor;
  return static_cast<std::size_t>(hash ^ hash >> 32);
}

const ConvertedArticulations::Converted& ConvertedArticulations::of(const ArticulationSet& rows) {
  if (const auto same = byEntries_.find(rows.entries().data()); same != byEntries_.end()) return *same->second;
  const auto [place, isNew] = known_.try_emplace(rows);
  Converted& converted = place->second;
  if (!isNew) return converted;
  converted.values = zoneValuesOf(rows);
  converted.isExact = readsAs(converted.values, rows);
  byEntries_[place->first.entries().data()] = &converted;
  return converted;
}

PresetPlan planPreset(const Instrument& instrument, const SamplePlan& samples, ConvertedArticulations& converted,
                      ConversionReport& report) {
  LossTally losses;
  if (instrument.synth()) losses.dropped(u"synthesis voice", u"the file has no place for it");
  if (instrument.bankLsb != 0) losses.dropped(u"Minor MIDI bank number", u"the file has no place for it");
  if (instrument.drum && instrument.bankMsb != 0) losses.dropped(u"Major MIDI bank number", u"drums are in bank 128");
  PresetPlan plan = PresetPlanner(samples, converted, losses).plan(instrument);
  plan.name = recordName(instrument.name, {}, report);
  losses.reportTo(report, instrument.name);
  return plan;
}

}  // namespace tervo::sf2
