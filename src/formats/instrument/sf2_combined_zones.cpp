#include "formats/instrument/sf2_combined_zones.h"

#include <algorithm>

#include "core/parameter_table.h"
#include "formats/instrument/sf1_zone.h"
#include "formats/instrument/sf2_articulation.h"

namespace tervo::sf2 {
namespace {

std::optional<Range> rangeOf(int16_t amount) {
  const auto bits = static_cast<uint16_t>(amount);
  const Range range{static_cast<uint8_t>(bits & 0xFF), static_cast<uint8_t>(std::min(bits >> 8, 127))};
  return range.low <= range.high ? std::optional(range) : std::nullopt;
}

int16_t heldSum(int sum, LossTally& losses) {
  const int held = std::clamp(sum, -32768, 32767);
  if (sum != held) losses.approximated(u"sum of a preset's and an instrument's amount", sum, held);
  return static_cast<int16_t>(held);
}

/// Adds amounts. Sums hardly ever leave 16 bits, so that is looked for in all of them at once.
template <std::size_t Size>
void addAmounts(std::array<int16_t, Size>& to, const std::array<int16_t, Size>& amounts, LossTally& losses) {
  std::array<int16_t, Size> sums;
  int beyond = 0;
  for (std::size_t i = 0; i < Size; ++i) {
    const int sum = to[i] + amounts[i];
    sums[i] = static_cast<int16_t>(sum);
    beyond |= sum ^ sums[i];
  }
  for (std::size_t i = 0; beyond != 0 && i < Size; ++i) sums[i] = heldSum(to[i] + amounts[i], losses);
  to = sums;
}

ZoneValues summed(const ZoneValues& instrument, const ZoneValues& preset, LossTally& losses) {
  ZoneValues values = instrument;
  std::array<int16_t, generatorCount> generators;
  for (std::size_t i = 0; i < generatorCount; ++i)
    generators[i] = static_cast<int16_t>(preset.generators[i] & summedMask[i]);
  addAmounts(values.generators, generators, losses);
  addAmounts(values.slots, preset.slots, losses);
  return values;
}

void noteLosses(const std::vector<ClippedRow>& clipped, LossTally& losses) {
  for (const ClippedRow& row : clipped) losses.approximated(rowOf(row.row).name, row.from, row.to);
}

}  // namespace

std::optional<Range> commonRange(const ZoneValues& a, const ZoneValues& b, Gen generator) {
  const auto one = rangeOf(a[generator]), other = rangeOf(b[generator]);
  if (!one || !other || !one->overlaps(*other)) return std::nullopt;
  return Range{std::max(one->low, other->low), std::min(one->high, other->high)};
}

ZoneRules rulesFor(const Bank& bank) {
  const auto add = [](const ZoneValues& instrument, const ZoneValues& preset, const SampleRecord&, LossTally& losses) {
    return summed(instrument, preset, losses);
  };
  const auto fillIn = [](const ZoneValues& instrument, const ZoneValues& preset, const SampleRecord& sample,
                         LossTally&) { return sf1Combined(instrument, preset, sample); };
  if (bank.majorVersion == 1) return {unsaidZone(), unsaidZone(), fillIn};
  return {instrumentDefaults(), presetDefaults(), add};
}

ArticulationSet globalRows(const ZoneRules& rules, const ZoneValues& global) {
  LossTally whatItsZonesReport;
  const ArticulationSet rows = articulationOf(rules.combine(rules.instrument, global, {}, whatItsZonesReport));
  const ArticulationSet usual = articulationOf(rules.combine(rules.instrument, rules.preset, {}, whatItsZonesReport));
  ArticulationSet said;
  for (const auto& [row, value] : rows.entries())
    if (usual.get(row) != value) said.set(row, value);
  return said;
}

ArticulationSet KnownArticulations::of(ZoneValues values, LossTally& losses) {
  for (const Gen generator :
       {Gen::keyRange, Gen::velocityRange, Gen::sampleId, Gen::instrument, Gen::sampleModes, Gen::startOffset,
        Gen::endOffset, Gen::loopStartOffset, Gen::loopEndOffset, Gen::rootKey, Gen::exclusiveClass})
    values[generator] = 0;
  if (const auto known = known_.find(values); known != known_.end()) return known->second;
  std::vector<ClippedRow> clipped;
  ArticulationSet rows = articulationOf(values, &clipped);
  noteLosses(clipped, losses);
  if (clipped.empty()) known_.emplace(values, rows);
  return rows;
}

}  // namespace tervo::sf2
