#include <algorithm>
#include <cmath>
#include <unordered_set>

#include "core/normalise/key_velocity_map.h"
#include "core/normalise/steps.h"

namespace tervo::fixup {
namespace {

/// A cross-fade is centred on the end of the range, so it reaches as far outside as inside.
Range withFades(Range range, float fadeIn, float fadeOut) {
  const auto outside = [](float fade) { return static_cast<int>(std::ceil(std::clamp(fade, 0.0f, 126.0f) / 2)); };
  return {static_cast<uint8_t>(std::max(range.low - outside(fadeIn), 0)),
          static_cast<uint8_t>(std::min(range.high + outside(fadeOut), 127))};
}

Zone zoneOf(const Region& region) {
  return {withFades(keyRange(region), effectiveValue(region, ParameterId::triggerKeyFadeIn),
                    effectiveValue(region, ParameterId::triggerKeyFadeOut)),
          withFades(velocityRange(region), effectiveValue(region, ParameterId::triggerVelocityFadeIn),
                    effectiveValue(region, ParameterId::triggerVelocityFadeOut))};
}

ParameterSet inBoth(const ParameterSet& a, const ParameterSet& b) {
  ParameterSet result;
  std::vector<ParameterSet::Entry> entries;
  std::set_intersection(a.entries().begin(), a.entries().end(), b.entries().begin(), b.entries().end(),
                        std::back_inserter(entries));
  for (const auto& [row, value] : entries) result.set(row, value);
  return result;
}

/// Leaves `kept` of what the layer sets and gives the rest to those of its regions that do not set it themselves.
void pushDown(Layer& layer, ParameterSet Layer::*ofLayer, ParameterSet Region::*ofRegion, const ParameterSet& kept) {
  for (const auto& [row, value] : (layer.*ofLayer).entries()) {
    if (kept.get(row)) continue;
    for (const auto& region : layer.regions()) {
      ParameterSet& set = (*region).*ofRegion;
      if (!set.get(row)) set.set(row, value);
    }
  }
  layer.*ofLayer = kept;
}

void pushDownDifferences(Layer& a, Layer& b, ParameterSet Layer::*ofLayer, ParameterSet Region::*ofRegion) {
  const ParameterSet common = inBoth(a.*ofLayer, b.*ofLayer);
  pushDown(a, ofLayer, ofRegion, common);
  pushDown(b, ofLayer, ofRegion, common);
}

void merge(Layer& to, Layer& from) {
  pushDownDifferences(to, from, &Layer::articulation, &Region::articulation);
  pushDownDifferences(to, from, &Layer::trigger, &Region::trigger);
  to.absorb(from);
}

/// A layer that others may be merged into.
struct Target {
  Layer* layer;
  KeyVelocityMap taken;

  bool canTake(const std::vector<Zone>& zones) const {
    return std::none_of(zones.begin(), zones.end(), [this](const Zone& zone) { return taken.overlaps(zone); });
  }
  void take(const std::vector<Zone>& zones) {
    for (const Zone& zone : zones) taken.add(zone);
  }
};

void compact(Instrument& instrument) {
  constexpr std::ptrdiff_t mostTargets = 512;  // looked at; more are in no instrument that is played
  if (instrument.layers().size() < 2) return;
  std::vector<Target> targets;
  std::unordered_set<ItemId> emptied;
  std::vector<Zone> zones;
  for (const auto& layer : instrument.layers()) {
    if (layer->regions().empty()) continue;
    zones.clear();
    for (const auto& region : layer->regions()) zones.push_back(zoneOf(*region));
    const auto first = targets.end() - std::min<std::ptrdiff_t>(std::ssize(targets), mostTargets);
    auto target = std::find_if(first, targets.end(), [&](const Target& each) { return each.canTake(zones); });
    if (target == targets.end()) {
      target = targets.insert(targets.end(), {layer.get(), {}});
    } else {
      merge(*target->layer, *layer);
      emptied.insert(layer->id());
    }
    target->take(zones);
  }
  instrument.removeLayers([&](const Layer& layer) { return emptied.contains(layer.id()); });
}

}  // namespace

bool compactLayers(Pass& pass) {
  for (const auto& instrument : pass.loaded.instruments()) compact(*instrument);
  return true;
}

}  // namespace tervo::fixup
