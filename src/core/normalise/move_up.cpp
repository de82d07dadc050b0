#include <algorithm>

#include "core/normalise/steps.h"

namespace tervo::fixup {
namespace {

using Entries = std::vector<ParameterSet::Entry>;

/// Leaves in `entries` what the set has too.
void intersect(Entries& entries, const ParameterSet& set) {
  Entries both;
  std::set_intersection(entries.begin(), entries.end(), set.entries().begin(), set.entries().end(),
                        std::back_inserter(both));
  entries = std::move(both);
}

/// The set without rows that it is known to have.
ParameterSet without(const ParameterSet& set, const Entries& entries) {
  ParameterSet rest;
  auto next = entries.begin();
  for (const auto& entry : set.entries()) {
    if (next != entries.end() && *next == entry)
      ++next;
    else
      rest.set(entry.first, entry.second);
  }
  return rest;
}

bool isAnyRow(ParameterId) {
  return true;
}

/// Moves the rows that all sets have with the same value to `upper`.
void moveUp(const std::vector<ParameterSet*>& sets, ParameterSet& upper, bool (*mayMove)(ParameterId)) {
  if (sets.empty()) return;
  const auto all = sets.front()->entries();
  Entries common(all.begin(), all.end());
  std::erase_if(common, [mayMove](const auto& entry) { return !mayMove(entry.first); });
  for (const ParameterSet* set : sets) {
    if (common.empty()) return;
    intersect(common, *set);
  }
  for (const auto& [row, value] : common) upper.set(row, value);
  for (ParameterSet* set : sets) *set = without(*set, common);
}

std::vector<ParameterSet*> setsOf(const Layer& layer, ParameterSet Region::*set) {
  std::vector<ParameterSet*> sets;
  for (const auto& region : layer.regions()) sets.push_back(&((*region).*set));
  return sets;
}

}  // namespace

bool moveArticulationUp(Pass& pass) {
  for (const auto& instrument : pass.loaded.instruments()) {
    std::vector<ParameterSet*> layers;
    for (const auto& layer : instrument->layers()) {
      if (layer->regions().empty()) continue;
      moveUp(setsOf(*layer, &Region::articulation), layer->articulation, isAnyRow);
      layers.push_back(&layer->articulation);
    }
    // A synth voice beside the layers would hear it too.
    if (!instrument->synth()) moveUp(layers, instrument->articulation, isAnyRow);
  }
  return true;
}

bool moveTriggerUp(Pass& pass) {
  for (const auto& instrument : pass.loaded.instruments()) {
    for (const auto& layer : instrument->layers()) moveUp(setsOf(*layer, &Region::trigger), layer->trigger, isTrigger);
  }
  return true;
}

}  // namespace tervo::fixup
