#include "tools/loop/loop_places.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

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

uint32_t hashOf(const float* span) {
  uint64_t hash = 0xcbf29ce484222325;
  for (std::size_t i = 0; i < spanFrames; ++i) hash = (hash ^ std::bit_cast<uint32_t>(span[i])) * 0x100000001b3;
  return static_cast<uint32_t>(hash ^ hash >> 32);
}

struct HashedPlace {
  uint32_t hash;
  uint32_t index;

  bool operator<(const HashedPlace& other) const { return hash < other.hash; }
};

/// Places that have the hash of another, but other samples than the first one with it, stay without twins.
void findTwins(std::span<const float> x, std::vector<HashedPlace>& hashed, std::vector<LoopPlace>& places) {
  std::stable_sort(hashed.begin(), hashed.end());
  uint32_t numbers = 0;
  for (std::size_t i = 0, first = 0; i < hashed.size(); ++i) {
    if (hashed[i].hash != hashed[first].hash) first = i;
    LoopPlace &one = places[hashed[first].index], &place = places[hashed[i].index];
    if (i == first || std::memcmp(spanOf(x, one), spanOf(x, place), spanFrames * sizeof(float)) != 0) continue;
    if (one.twins == 0) one.twins = ++numbers;
    place.twins = one.twins;
  }
}

}  // namespace

bool findLoopPlaces(std::span<const float> x, std::span<const ZeroCrossing> crossings, bool rising,
                    const SearchProgress& progress, LoopPlaces& places, bool& tooSoft) {
  constexpr double softest = 1e-36;
  constexpr std::size_t crossingsBetween = 1 << 14;  // two asks for progress
  std::vector<HashedPlace> hashed;
  for (std::size_t i = 0; i < crossings.size(); ++i) {
    if (i % crossingsBetween == 0 && !progress(static_cast<double>(i) / static_cast<double>(crossings.size())))
      return false;
    const uint32_t position = crossings[i].position;
    if (crossings[i].rising != rising) continue;
    places.all.push_back(position);
    if (position < spanBefore || position + spanBefore > x.size()) continue;
    const double length = lengthOf(x.data() + (position - spanBefore));
    if (!std::isfinite(length) || length == 0) continue;
    tooSoft = tooSoft || length < softest;
    hashed.push_back({hashOf(x.data() + (position - spanBefore)), static_cast<uint32_t>(places.inner.size())});
    places.inner.push_back({position, static_cast<float>(1 / length)});
  }
  findTwins(x, hashed, places.inner);
  return true;
}

StartRange startsFor(std::span<const uint32_t> ascending, std::size_t end, const LoopRange& range) {
  return startsAmong(ascending, end, range, [](uint32_t position) { return position; });
}
StartRange startsFor(std::span<const LoopPlace> ascending, std::size_t end, const LoopRange& range) {
  return startsAmong(ascending, end, range, [](const LoopPlace& place) { return place.position; });
}

}  // namespace tervo
