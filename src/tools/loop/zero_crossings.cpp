#include "tools/loop/zero_crossings.h"

#include <algorithm>
#include <cmath>

namespace tervo {

std::vector<ZeroCrossing> zeroCrossings(std::span<const float> mono, std::size_t first, std::size_t last) {
  std::vector<ZeroCrossing> found;
  std::optional<std::size_t> earlier;
  for (std::size_t i = first; i < mono.size() && (i <= last || (earlier && *earlier <= last)); ++i) {
    if (mono[i] == 0) continue;
    if (earlier && (mono[*earlier] < 0) != (mono[i] < 0))
      found.push_back({static_cast<uint32_t>(*earlier), mono[i] > mono[*earlier]});
    earlier = i;
  }
  return found;
}

std::optional<ZeroCrossing> nearestCrossing(std::span<const float> mono, double position, std::optional<bool> rising) {
  const auto crossings = zeroCrossings(mono, 0, mono.size());
  std::optional<ZeroCrossing> nearest;
  for (const ZeroCrossing& crossing : crossings) {
    if (rising && crossing.rising != *rising) continue;
    const auto distance = [position](const ZeroCrossing& each) { return std::abs(each.position - position); };
    if (!nearest || distance(crossing) < distance(*nearest)) nearest = crossing;
  }
  return nearest;
}

}  // namespace tervo
