#include "core/levels.h"

#include <algorithm>
#include <cmath>

#include "core/parameter_table.h"

namespace tervo {
namespace {

const Layer* layerOf(const Region& region) {
  return static_cast<const Layer*>(region.parent());
}
const Instrument* instrumentOf(const Layer* layer) {
  return layer ? static_cast<const Instrument*>(layer->parent()) : nullptr;
}

std::optional<float> articulationValue(const Region& region, ParameterId row) {
  if (const auto value = region.articulation.get(row)) return value;
  const Layer* layer = layerOf(region);
  if (layer) {
    if (const auto value = layer->articulation.get(row)) return value;
  }
  const Instrument* instrument = instrumentOf(layer);
  return instrument ? instrument->articulation.get(row) : std::nullopt;
}

std::optional<float> triggerValue(const Region& region, ParameterId row) {
  if (const auto value = region.trigger.get(row)) return value;
  const Layer* layer = layerOf(region);
  return layer && isTrigger(row) ? layer->trigger.get(row) : std::nullopt;
}

uint8_t midiValue(const Region& region, ParameterId row) {
  return static_cast<uint8_t>(inRange(row, effectiveValue(region, row)).value_or(0));
}

Range rangeOf(const Region& region, ParameterId low, ParameterId high) {
  return {midiValue(region, low), midiValue(region, high)};
}

/// The marker that a region's selector names, counted from 1; null when it names none.
const Marker* namedMarker(const Waveform& waveform, float selector) {
  if (!(selector >= 1) || selector > static_cast<float>(waveform.markers.size())) return nullptr;
  return &waveform.markers[static_cast<std::size_t>(selector) - 1];
}

}  // namespace

float effectiveValue(const Region& region, ParameterId row) {
  const auto value = isArticulation(row) ? articulationValue(region, row) : triggerValue(region, row);
  return value.value_or(rowOf(row).defaultValue);
}

ArticulationSet effectiveArticulation(const Region& region) {
  ArticulationSet merged = region.articulation;
  // Mostly the lower level sets all that an upper one does.
  const auto inherit = [&merged](const ArticulationSet& level) {
    for (const auto& [row, value] : level.entries())
      if (!merged.get(row)) merged.set(row, value);
  };
  const Layer* layer = layerOf(region);
  if (layer) inherit(layer->articulation);
  if (const Instrument* instrument = instrumentOf(layer)) inherit(instrument->articulation);
  return merged;
}

ArticulationSet* articulationOf(Item& item) {
  switch (item.kind()) {
    case ItemKind::instrument:
      return &static_cast<Instrument&>(item).articulation;
    case ItemKind::layer:
      return &static_cast<Layer&>(item).articulation;
    case ItemKind::region:
      return &static_cast<Region&>(item).articulation;
    default:
      return nullptr;
  }
}

TriggerSet* triggerOf(Item& item) {
  switch (item.kind()) {
    case ItemKind::layer:
      return &static_cast<Layer&>(item).trigger;
    case ItemKind::region:
      return &static_cast<Region&>(item).trigger;
    default:
      return nullptr;
  }
}

Range keyRange(const Region& region) {
  return rangeOf(region, ParameterId::triggerLowKey, ParameterId::triggerHighKey);
}

Range velocityRange(const Region& region) {
  return rangeOf(region, ParameterId::triggerLowVelocity, ParameterId::triggerHighVelocity);
}

bool canTake(const Layer& layer, Range keys, Range velocities) {
  return std::none_of(layer.regions().begin(), layer.regions().end(), [&](const auto& region) {
    return keyRange(*region).overlaps(keys) && velocityRange(*region).overlaps(velocities);
  });
}

uint8_t rootKeyOf(const Region& region) {
  if (region.trigger.get(ParameterId::rootKeyOverride)) return midiValue(region, ParameterId::rootKeyOverride);
  const Waveform* waveform = findItem<Waveform>(region.waveform);
  return waveform ? waveform->rootKey : static_cast<uint8_t>(rowOf(ParameterId::rootKey).defaultValue);
}

FrameRange playedFrames(const Region& region) {
  const Waveform* waveform = findItem<Waveform>(region.waveform);
  if (!waveform) return {};
  const auto frames = static_cast<double>(waveform->frames());
  const Marker* marker = namedMarker(*waveform, effectiveValue(region, ParameterId::playSection));
  if (!marker) return {0, frames};
  const double start = std::clamp(marker->start, 0.0, frames);
  const double end = marker->type == MarkerType::position ? frames : std::clamp(marker->end, start, frames);
  return {start, end};
}

std::optional<Marker> playedLoop(const Region& region) {
  const Waveform* waveform = findItem<Waveform>(region.waveform);
  if (!waveform) return std::nullopt;
  const float selector = effectiveValue(region, ParameterId::loopSection);
  const Marker* marker = selector < 0 ? mainLoop(*waveform) : namedMarker(*waveform, selector);
  if (!marker || marker->type != MarkerType::loop || marker->loopType == LoopType::off) return std::nullopt;
  return *marker;
}

}  // namespace tervo
