#pragma once
// Which keys and velocities are taken: one bit each.

#include <algorithm>
#include <array>
#include <cstdint>

#include "core/levels.h"

namespace tervo::fixup {

struct Zone {
  Range keys;
  Range velocities;
};

class KeyVelocityMap {
 public:
  /// Whether any key and velocity of the zone is taken.
  bool overlaps(const Zone& zone) const {
    const Row wanted = rowOf(zone.velocities);
    for (unsigned key = zone.keys.low; key <= zone.keys.high; ++key) {
      const Row& row = rows_[key];
      if ((row[0] & wanted[0]) != 0 || (row[1] & wanted[1]) != 0) return true;
    }
    return false;
  }

  void add(const Zone& zone) {
    const Row added = rowOf(zone.velocities);
    for (unsigned key = zone.keys.low; key <= zone.keys.high; ++key) {
      rows_[key][0] |= added[0];
      rows_[key][1] |= added[1];
    }
  }

 private:
  using Row = std::array<uint64_t, 2>;

  static Row rowOf(Range velocities) { return {bits(velocities, 0), bits(velocities, 64)}; }
  /// Those of the 64 velocities from `first` that are in the range.
  static uint64_t bits(Range range, int first) {
    const int low = std::max<int>(range.low - first, 0), high = std::min<int>(range.high - first, 63);
    if (low > high) return 0;
    return (~uint64_t{0} >> (63 - (high - low))) << low;
  }

  std::array<Row, 128> rows_{};
};

}  // namespace tervo::fixup
