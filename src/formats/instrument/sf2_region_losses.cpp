#include "formats/instrument/sf2_region_losses.h"

#include <algorithm>
#include <cmath>

#include "core/levels.h"
#include "core/parameter_lists.h"
#include "core/parameter_table.h"
#include "formats/instrument/sf2_articulation.h"
#include "formats/instrument/sf2_rows.h"

namespace tervo::sf2 {
namespace {

using P = ParameterId;

constexpr P heldTriggers[] = {P::triggerLowKey, P::triggerHighKey, P::triggerLowVelocity, P::triggerHighVelocity,
                              P::keyExclusionGroup};
constexpr P heldOverrides[] = {P::rootKeyOverride, P::playSection, P::loopSection};

/// Further from each other than the steps of a bank's units.
bool differs(const ParameterRow& row, double a, double b) {
  if (row.has(ParameterFlags::Choice)) return a != b;
  const double step = row.unit == ParameterUnit::dB ? 0.021 : 0.006;
  return std::abs(a - b) > std::max(step, 0.01 * std::abs(a));
}

template <typename Rows>
bool isAmong(const Rows& rows, P row) {
  return std::find(std::begin(rows), std::end(rows), row) != std::end(rows);
}

bool isHeld(P row) {
  return isTrigger(row) ? isAmong(heldTriggers, row) : !isWaveformOverride(row) || isAmong(heldOverrides, row);
}

void noteTrigger(const Region& region, LossTally& losses) {
  const auto note = [&](P row, float value) {
    if (!isHeld(row) && value != rowOf(row).defaultValue)
      losses.dropped(rowOf(row).name, u"the file has no place for it");
  };
  for (const auto& [row, value] : region.trigger.entries()) note(row, value);
  const auto* layer = static_cast<const Layer*>(region.parent());
  for (const auto& [row, value] : layer->trigger.entries())
    if (!region.trigger.get(row) && isTrigger(row)) note(row, value);
}

}  // namespace

void noteArticulationLosses(const ArticulationSet& effective, const ArticulationSet& written, LossTally& losses) {
  if (effective == written) return;
  const auto text = [](P row, double value) { return valueText(row, value, MiddleC::c4); };
  for (const auto& [row, value] : written.entries()) {
    const double wanted = valueOf(effective, row);
    if (differs(rowOf(row), wanted, value) && isHeard(effective, row))
      losses.approximated(rowOf(row).name, text(row, wanted), text(row, value));
  }
  for (const auto& [row, value] : effective.entries()) {
    if (value != rowOf(row).defaultValue && !written.get(row) && isHeard(effective, row))
      losses.dropped(rowOf(row).name, u"the file has no place for it");
  }
}

void noteRegionLosses(const Region& region, const ZoneValues& values, LossTally& losses) {
  if (values[Gen::attenuation] < 0)
    losses.approximated(u"gain above 0 dB", u"as it is", u"synthesizers may take it for 0 dB");
  noteTrigger(region, losses);
}

}  // namespace tervo::sf2
