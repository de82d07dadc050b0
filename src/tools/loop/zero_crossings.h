#pragma once
// Where a sound passes through zero: the places at which loops begin and end.

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace tervo {

/// A crossing lies between two samples of opposite sign that have at most zeros between them; its position is that of
/// the earlier one.
struct ZeroCrossing {
  uint32_t position;
  bool rising;

  bool operator==(const ZeroCrossing&) const = default;
};

/// Those whose position is in first..last, in ascending order.
std::vector<ZeroCrossing> zeroCrossings(std::span<const float> mono, std::size_t first, std::size_t last);

/// Of all crossings of a sound the one nearest to a position, the earlier one of two; with `rising` only those of that
/// direction.
std::optional<ZeroCrossing> nearestCrossing(std::span<const ZeroCrossing> crossings, double position,
                                            std::optional<bool> rising = std::nullopt);

}  // namespace tervo
