#include "formats/instrument/sf2_layer_maker.h"

#include <algorithm>
#include <limits>

namespace tervo::sf2 {
namespace {

constexpr std::size_t none = std::numeric_limits<std::size_t>::max();

std::size_t partnerOf(const SampleRecord& record) {
  const bool isHalf = (record.type & (leftSample | rightSample)) != 0;
  return isHalf ? std::size_t{record.link} : none;
}

void setRange(TriggerSet& trigger, ParameterId low, ParameterId high, Range range) {
  if (range == Range{}) return;
  trigger.set(low, range.low);
  trigger.set(high, range.high);
}

}  // namespace

bool LayerMaker::canTake(const OpenLayer& layer, const Placed& wanted, std::size_t partner) const {
  return std::none_of(layer.placed.begin(), layer.placed.end(), [&](const Placed& each) {
    return each.sample != partner && each.keys.overlaps(wanted.keys) && each.velocities.overlaps(wanted.velocities);
  });
}

std::size_t LayerMaker::layerFor(const Placed& wanted, const SampleRecord& record) {
  const std::size_t partner = partnerOf(record);
  if (partner != none) {
    const auto home = lastLayerOf_.find(partner);
    if (home != lastLayerOf_.end() && canTake(layers_[home->second], wanted, partner)) return home->second;
  }
  if (!layers_.empty() && canTake(layers_.back(), wanted, none)) return layers_.size() - 1;
  layers_.push_back({&instrument_.add(std::make_unique<Layer>()), {}});
  return layers_.size() - 1;
}

Region& LayerMaker::add(Range keys, Range velocities, std::size_t sample, const SampleRecord& record) {
  const Placed wanted{keys, velocities, sample};
  const std::size_t place = layerFor(wanted, record);
  layers_[place].placed.push_back(wanted);
  std::size_t& last = lastLayerOf_.try_emplace(sample, place).first->second;
  last = std::max(last, place);
  Region& region = layers_[place].layer->add(std::make_unique<Region>());
  setRange(region.trigger, ParameterId::triggerLowKey, ParameterId::triggerHighKey, keys);
  setRange(region.trigger, ParameterId::triggerLowVelocity, ParameterId::triggerHighVelocity, velocities);
  return region;
}

}  // namespace tervo::sf2
