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

std::optional<ZeroCrossing> nearestCrossing(std::span<const ZeroCrossing> crossings, double position,
                                            std::optional<bool> rising) {
  const auto behind = std::partition_point(crossings.begin(), crossings.end(),
                                           [position](const ZeroCrossing& each) { return each.position < position; });
  // Directions alternate, so there is one of each among the next two, and among the last two.
  const auto first = behind - std::min<std::ptrdiff_t>(behind - crossings.begin(), 2);
  const auto last = behind + std::min<std::ptrdiff_t>(crossings.end() - behind, 2);
  std::optional<ZeroCrossing> nearest;
  for (auto each = first; each != last; ++each) {
    if (rising && each->rising != *rising) continue;
    if (!nearest || std::abs(each->position - position) < std::abs(nearest->position - position)) nearest = *each;
  }
  return nearest;
}

}  // namespace tervo
