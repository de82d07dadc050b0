#include "tools/loop/loop_places.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <unordered_map>

namespace tervo {
namespace {

double lengthOf(const float* span) {
  double sums[4] = {};
  for (std::size_t i = 0; i < spanFrames; i += 4)
    for (std::size_t lane = 0; lane < 4; ++lane) sums[lane] += double{span[i + lane]} * double{span[i + lane]};
  return std::sqrt((sums[0] + sums[1]) + (sums[2] + sums[3]));
}

template <typename Place, typename PositionOf>
StartRange startsAmong(std::span<const Place> places, std::size_t end, const LoopRange& range, PositionOf positionOf) {
  if (end < range.first + range.shortest) return {0, 0};
  const auto before = [&](std::size_t limit) {
    const auto isBefore = [&](const Place& each) { return positionOf(each) < limit; };
    return static_cast<std::size_t>(std::partition_point(places.begin(), places.end(), isBefore) - places.begin());
  };
  const std::size_t first = before(end - std::min(end, range.longest));
  return {first, std::max(before(end + 2 - range.shortest), first)};
}

const float* spanOf(std::span<const float> x, const LoopPlace& place) {
  return x.data() + (place.position - spanBefore);
}

uint64_t hashOf(const float* span) {
  uint64_t hash = 0xcbf29ce484222325;
  for (std::size_t i = 0; i < spanFrames; ++i) hash = (hash ^ std::bit_cast<uint32_t>(span[i])) * 0x100000001b3;
  return hash;
}

/// Places that have the hash of another, but other samples, stay without twins.
void findTwins(std::span<const float> x, std::vector<LoopPlace>& places) {
  struct Family {
    LoopPlace* first;
    uint32_t number = 0;
  };
  std::unordered_map<uint64_t, Family> families;
  uint32_t numbers = 0;
  for (LoopPlace& place : places) {
    const auto [found, isNew] = families.try_emplace(hashOf(spanOf(x, place)), Family{&place});
    Family& family = found->second;
    if (isNew || std::memcmp(spanOf(x, *family.first), spanOf(x, place), spanFrames * sizeof(float)) != 0) continue;
    if (family.number == 0) family.first->twins = family.number = ++numbers;
    place.twins = family.number;
  }
}

}  // namespace

LoopPlaces loopPlaces(std::span<const float> x, std::span<const ZeroCrossing> crossings, bool rising, bool& tooSoft) {
  constexpr double softest = 1e-36;
  LoopPlaces places;
  for (const ZeroCrossing& crossing : crossings) {
    if (crossing.rising != rising) continue;
    const uint32_t position = crossing.position;
    places.all.push_back(position);
    if (position < spanBefore || position + spanBefore > x.size()) continue;
    const double length = lengthOf(x.data() + (position - spanBefore));
    if (!std::isfinite(length) || length == 0) continue;
    tooSoft = tooSoft || length < softest;
    places.inner.push_back({position, static_cast<float>(1 / length)});
  }
  findTwins(x, places.inner);
  return places;
}

StartRange startsFor(std::span<const uint32_t> ascending, std::size_t end, const LoopRange& range) {
  return startsAmong(ascending, end, range, [](uint32_t position) { return position; });
}
StartRange startsFor(std::span<const LoopPlace> ascending, std::size_t end, const LoopRange& range) {
  return startsAmong(ascending, end, range, [](const LoopPlace& place) { return place.position; });
}

}  // namespace tervo
