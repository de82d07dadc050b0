#include "tools/loop/loop_range.h"

#include <algorithm>
#include <cmath>

namespace tervo {
namespace {

constexpr std::size_t shortestLoop = 32;

std::size_t part(double percent, std::size_t frames) {
  return static_cast<std::size_t>(std::max(std::floor(percent / 100 * static_cast<double>(frames) + 0.5), 0.0));
}

std::size_t minus(std::size_t a, std::size_t b) {
  return a > b ? a - b : 0;
}

}  // namespace

LoopRange loopRange(std::size_t frames, const LoopPercentages& asked, const std::optional<Pitch>& pitch,
                    double sampleRate) {
  LoopRange range;
  range.last = std::min(std::max(part(asked.to, frames), shortestLoop), frames);
  range.first = std::min(part(asked.from, frames), minus(range.last, shortestLoop));
  range.longest = range.last - range.first;
  const std::size_t least = std::min(part(asked.shortest, frames), range.longest / 2);
  range.shortest = least;
  if (pitch) {
    range.shortest = static_cast<std::size_t>(std::floor(sampleRate / (pitch->hertz + pitch->tolerance / 2)));
    range.longest = static_cast<std::size_t>(std::ceil(sampleRate / (pitch->hertz - pitch->tolerance / 2)));
    for (range.shortest = std::max<std::size_t>(range.shortest, 1); range.shortest < least; range.longest *= 2)
      range.shortest *= 2;
  }
  range.shortest = std::max(range.shortest, shortestLoop);
  while (range.longest > 0 && range.longest < shortestLoop) range.longest *= 2;
  if (range.longest > range.last - range.first) {
    range.last = frames;
    range.first = minus(frames, range.longest);
    range.longest = std::min(range.longest, frames);
  }
  return range;
}

}  // namespace tervo
