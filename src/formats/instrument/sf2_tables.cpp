#include "formats/instrument/sf2_tables.h"

#include <fmt/format.h>

#include <algorithm>
#include <unordered_map>

#include "base/last_error.h"

namespace tervo::sf2 {
namespace {

constexpr std::size_t limitOfIndices = 65536;

bool canAdd(const ZoneValues& a, const ZoneValues& b) {
  bool fits = true;
  forEachSummed(a, b, [&fits](int16_t one, int16_t other) { fits &= fitsAmount(one + other); });
  return fits;
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

bool isFull(const ZoneRecords& zones) {
  return zones.generators.size() >= limitOfIndices || zones.modulators.size() >= limitOfIndices;
}

/// Ranges that all zones share are the preset's to say.
std::vector<ZoneValues> withoutSharedRanges(std::vector<ZoneValues> zones) {
  for (const Gen range : {Gen::keyRange, Gen::velocityRange}) {
    const int16_t first = zones.front()[range];
    const bool isShared =
        std::all_of(zones.begin(), zones.end(), [&](const ZoneValues& zone) { return zone[range] == first; });
    if (!isShared) continue;
    for (ZoneValues& zone : zones) zone[range] = instrumentDefaults()[range];
  }
  return zones;
}

using ZoneGroups = std::vector<std::vector<ZoneValues>>;

/// A run over the keys ends where the next zone is further down.
ZoneGroups runsOf(const std::vector<ZoneValues>& zones) {
  const auto lowKey = [](const ZoneValues& zone) { return zone[Gen::keyRange] & 0xFF; };
  ZoneGroups runs;
  for (std::size_t i = 0; i < zones.size(); ++i) {
    if (i == 0 || lowKey(zones[i]) < lowKey(zones[i - 1])) runs.emplace_back();
    runs.back().push_back(zones[i]);
  }
  return runs;
}

ZoneGroups velocitiesOf(const std::vector<ZoneValues>& zones) {
  ZoneGroups groups;
  std::unordered_map<int16_t, std::size_t> places;
  for (const ZoneValues& zone : zones) {
    const auto [place, isNew] = places.try_emplace(zone[Gen::velocityRange], groups.size());
    if (isNew) groups.emplace_back();
    groups[place->second].push_back(zone);
  }
  return groups;
}

ZoneGroups groupsOf(const std::vector<ZoneValues>& zones, Packing packing) {
  switch (packing) {
    case Packing::byRun:
      return runsOf(zones);
    case Packing::byVelocity:
      return velocitiesOf(zones);
    case Packing::byLayer:
      break;
  }
  return ZoneGroups(1, zones);
}

}  // namespace

bool BankTables::hasRoomForGroup() const {
  // One index of each kind is the end's.
  return presetZones_.bags.size() + 1 < limitOfIndices && instruments_.size() + 1 < limitOfIndices;
}

bool BankTables::addInstrument(const std::vector<ZoneValues>& zones, const ZoneValues& inherited, TextView name,
                               std::size_t number) {
  const auto index = static_cast<uint16_t>(instruments_.size());
  const std::string ending = number == 0 ? std::string() : fmt::format("/{}", number + 1);
  ConversionReport ofNoInterest;
  instruments_.push_back({recordName(name, ending, ofNoInterest), static_cast<uint16_t>(instrumentZones_.bags.size())});
  const ZoneValues global = globalValues(zones, inherited);
  if (global != instrumentDefaults()) appendZone(global, instrumentDefaults(), instrumentZones_);
  for (const ZoneValues& zone : zones) {
    appendZone(zone, global, instrumentZones_);
    if (isFull(instrumentZones_)) return false;
  }
  shared_.add(index, zones);
  return true;
}

bool BankTables::addGroup(const std::vector<ZoneValues>& zones, const PresetPlan& preset, const ZoneValues& inherited,
                          std::size_t number) {
  auto use = shared_.find(zones);
  if (!use || !canAdd(use->added, preset.global)) {
    if (!addInstrument(withoutSharedRanges(zones), inherited, preset.instrument->name, number)) return false;
    use = shared_.find(zones);
  }
  ZoneValues zone = use->added;
  forEachSummed(zone, preset.global,
                [](int16_t& value, int16_t common) { value = static_cast<int16_t>(value + common); });
  zone[Gen::instrument] = static_cast<int16_t>(use->index);
  appendZone(zone, preset.global, presetZones_);
  return !isFull(presetZones_);
}

bool BankTables::add(const PresetPlan& preset, Packing packing) {
  const Instrument& instrument = *preset.instrument;
  presets_.push_back({preset.name, instrument.program, instrument.drum ? drumBank : instrument.bankMsb,
                      static_cast<uint16_t>(presetZones_.bags.size()), 0, 0, 0});
  if (preset.global != presetDefaults()) appendZone(preset.global, presetDefaults(), presetZones_);
  std::size_t number = 0;
  bool isComplete = true;
  for (const LayerZones& layer : preset.layers) {
    isComplete &= layer.isComplete;
    if (layer.zones.empty()) continue;
    for (const auto& group : groupsOf(layer.zones, packing)) {
      isComplete &= hasRoomForGroup();
      if (hasRoomForGroup() && !addGroup(group, preset, layer.inherited, number++))
        return fail(
            u"Save failed - Too much data!\n\nThe SF2 file format is by its construction limited to storing a "
            u"maximum of 65536 parameter values...nRemove some instruments then try saving again!\n");
    }
  }
  if (!isComplete) incomplete_.push_back(&instrument);
  return true;
}

}  // namespace tervo::sf2
