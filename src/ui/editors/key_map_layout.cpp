#include "ui/editors/key_map_layout.h"

#include <algorithm>
#include <cmath>

namespace tervo::ui {
namespace {

constexpr double edgeReach = 4;

uint8_t moved(uint8_t value, int by, int lowest = 0, int highest = 127) {
  return static_cast<uint8_t>(std::clamp(value + by, lowest, highest));
}

Range dragged(Range range, bool low, bool high, int by) {
  if (low) range.low = moved(range.low, by, 0, range.high);
  if (high) range.high = moved(range.high, by, range.low, 127);
  return range;
}

}  // namespace

std::vector<MapRegion> mapRegions(const Instrument& instrument, std::span<const ItemId> scope) {
  std::vector<MapRegion> regions;
  regions.reserve(instrument.regionCount());
  int number = 0;
  for (const auto& layer : instrument.layers()) {
    const bool isInScope = scope.empty() || std::find(scope.begin(), scope.end(), layer->id()) != scope.end();
    for (const auto& region : layer->regions())
      regions.push_back({region->id(), number, isInScope, keyRange(*region), velocityRange(*region)});
    ++number;
  }
  return regions;
}

MapGrip gripOf(const QRectF& region, const QPointF& point) {
  MapGrip grip;
  // In small regions the middle third is left for moving.
  const double across = std::min(edgeReach, region.width() / 3), upright = std::min(edgeReach, region.height() / 3);
  grip.left = std::abs(point.x() - region.left()) <= across;
  grip.right = !grip.left && std::abs(point.x() - region.right()) <= across;
  grip.top = std::abs(point.y() - region.top()) <= upright;
  grip.bottom = !grip.top && std::abs(point.y() - region.bottom()) <= upright;
  return grip;
}

std::vector<std::size_t> regionsAt(std::span<const MapRegion> regions, const MapScale& scale, const QPointF& point) {
  std::vector<std::size_t> found;
  for (std::size_t i = 0; i < regions.size(); ++i) {
    if (scale.rectOf(regions[i]).adjusted(-2, -2, 2, 2).contains(point)) found.push_back(i);
  }
  const auto size = [](const MapRegion& region) {
    return (region.keys.high - region.keys.low + 1) * (region.velocities.high - region.velocities.low + 1);
  };
  std::stable_sort(found.begin(), found.end(), [&](std::size_t a, std::size_t b) {
    if (regions[a].isInScope != regions[b].isInScope) return regions[a].isInScope;
    return size(regions[a]) < size(regions[b]);
  });
  return found;
}

MapRegion dragged(const MapRegion& region, const MapGrip& grip, int keys, int velocities) {
  MapRegion result = region;
  const bool whole = !grip.isEdge();
  if (whole) {
    result.keys = {moved(region.keys.low, keys), moved(region.keys.high, keys)};
    result.velocities = {moved(region.velocities.low, velocities), moved(region.velocities.high, velocities)};
    return result;
  }
  result.keys = dragged(region.keys, grip.left, grip.right, keys);
  result.velocities = dragged(region.velocities, grip.bottom, grip.top, velocities);
  return result;
}

void keepInside(std::span<const MapRegion> regions, int& keys, int& velocities) {
  for (const MapRegion& region : regions) {
    keys = std::clamp(keys, -int{region.keys.low}, 127 - int{region.keys.high});
    velocities = std::clamp(velocities, -int{region.velocities.low}, 127 - int{region.velocities.high});
  }
}

}  // namespace tervo::ui
