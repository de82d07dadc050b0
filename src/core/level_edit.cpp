#include "core/level_edit.h"

#include "core/instrument.h"
#include "core/parameter_table.h"

namespace tervo {
namespace {

using P = ParameterId;

/// What applies at an instrument or a layer that does not set the row. Nothing is below a region, so it may be anything
/// there.
double inheritedValue(const Item& level, P row) {
  if (level.kind() == ItemKind::layer && level.parent()) {
    const auto above = static_cast<const Instrument*>(level.parent())->articulation.get(row);
    if (above) return *above;
  }
  return rowOf(row).defaultValue;
}

void shift(ArticulationSet& set, P row, double delta) {
  const auto value = set.get(row);
  if (!value) return;
  if (const auto moved = inRange(row, *value + delta)) set.set(row, static_cast<float>(*moved));
}

void shiftRegions(Layer& layer, P row, double delta) {
  for (const auto& region : layer.regions()) shift(region->articulation, row, delta);
}

void shiftBelow(Item& level, P row, double delta) {
  if (delta == 0) return;
  if (level.kind() == ItemKind::layer) return shiftRegions(static_cast<Layer&>(level), row, delta);
  if (level.kind() != ItemKind::instrument) return;
  for (const auto& layer : static_cast<Instrument&>(level).layers()) {
    shift(layer->articulation, row, delta);
    shiftRegions(*layer, row, delta);
  }
}

bool propagates(P row, Propagation propagation) {
  return propagation == Propagation::deltaDownwards && isArticulation(row) && !rowOf(row).has(ParameterFlags::Choice);
}

}  // namespace

void editLevel(Item& item, ParameterSet& set, P row, std::optional<double> value, Propagation propagation) {
  const double inherited = inheritedValue(item, row);
  const double before = set.get(row).value_or(static_cast<float>(inherited));
  if (value) {
    set.set(row, static_cast<float>(*value));
  } else {
    set.erase(row);
  }
  if (propagates(row, propagation)) shiftBelow(item, row, value.value_or(inherited) - before);
}

}  // namespace tervo
