#pragma once
// Where the regions of an instrument stand on a map of keys and velocities, and what dragging them does.

#include <QRectF>
#include <optional>
#include <span>
#include <vector>

#include "core/instrument.h"
#include "core/levels.h"

namespace tervo::ui {

struct MapRegion {
  ItemId id = noItem;
  int layer = 0;          ///< its place in the instrument
  bool isInScope = true;  ///< of a chosen layer
  Range keys, velocities;
};
/// The regions of the instrument. `scope`: the layers that are chosen, all where it is empty.
std::vector<MapRegion> mapRegions(const Instrument& instrument, std::span<const ItemId> scope);

class MapScale {
 public:
  explicit MapScale(const QRectF& area) : area_(area) {}
  const QRectF& area() const { return area_; }
  double xOf(double key) const { return area_.left() + key * area_.width() / 128; }
  double yOf(double velocity) const { return area_.bottom() - velocity * area_.height() / 128; }
  double keyAt(double x) const { return (x - area_.left()) * 128 / area_.width(); }
  double velocityAt(double y) const { return (area_.bottom() - y) * 128 / area_.height(); }
  QRectF rectOf(const MapRegion& region) const {
    return {QPointF(xOf(region.keys.low), yOf(region.velocities.high + 1)),
            QPointF(xOf(region.keys.high + 1), yOf(region.velocities.low))};
  }

 private:
  QRectF area_;
};

/// What a drag takes hold of: edges, or the whole.
struct MapGrip {
  bool left = false, right = false, top = false, bottom = false;
  bool isEdge() const { return left || right || top || bottom; }
};
/// The edges that are near the point; none in the middle.
MapGrip gripOf(const QRectF& region, const QPointF& point);

/// The regions under the point: those in scope first, small ones before large ones.
std::vector<std::size_t> regionsAt(std::span<const MapRegion> regions, const MapScale& scale, const QPointF& point);

/// Moves edges, or all of the region, by so many keys and velocities.
MapRegion dragged(const MapRegion& region, const MapGrip& grip, int keys, int velocities);
/// The move cut down so that none of the regions leaves the map. For whole regions, which keep their size.
void keepInside(std::span<const MapRegion> regions, int& keys, int& velocities);

}  // namespace tervo::ui
