#include "tools/loop/loop_places.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

namespace tervo {
namespace {

constexpr double softest = 1e-36, loudest = 1e36;  // lengths whose inverse is a float of all digits
constexpr double times = 0x1p100;

uint32_t hashOf(const float* frames) {
  // Four side by side, because each waits for the one before it.
  uint64_t hashes[4] = {1, 2, 3, 4};
  for (std::size_t i = 0; i < spanFrames; i += 4)
    for (std::size_t k = 0; k < 4; ++k)
      hashes[k] = (hashes[k] ^ std::bit_cast<uint32_t>(frames[i + k])) * 0x100000001b3;
  uint64_t hash = 0;
  for (const uint64_t each : hashes) hash = (hash ^ each ^ each >> 32) * 0x100000001b3;
  return static_cast<uint32_t>(hash ^ hash >> 32);
}

struct HashedPlace {
  uint32_t hash;
  uint32_t position;

  bool operator<(const HashedPlace& other) const { return hash < other.hash; }
};

bool hasSpan(std::span<const float> x, std::size_t position) {
  return position >= spanBefore && position + spanBefore <= x.size();
}
const float* framesAt(std::span<const float> x, uint32_t position) {
  return x.data() + (position - spanBefore);
}
bool areAlike(std::span<const float> x, uint32_t a, uint32_t b) {
  return std::memcmp(framesAt(x, a), framesAt(x, b), spanFrames * sizeof(float)) == 0;
}

/// Divides places, in ascending order, into groups that have the same frames: their sizes, and the places sorted by
/// groups, single ones first. Those of less than `many` count as single, as do places with the hash of others, but not
/// their frames.
std::vector<uint32_t> groupTwins(std::span<const float> x, std::vector<HashedPlace>& places, std::size_t many,
                                 std::vector<uint32_t>& sorted) {
  std::stable_sort(places.begin(), places.end());
  std::vector<uint32_t> sizes, twins;
  for (std::size_t i = 0, next = 0; i < places.size(); i = next) {
    const std::size_t before = twins.size();
    for (next = i; next < places.size() && places[next].hash == places[i].hash; ++next)
      (areAlike(x, places[i].position, places[next].position) ? twins : sorted).push_back(places[next].position);
    const std::size_t size = twins.size() - before;
    if (size >= many) {
      sizes.push_back(static_cast<uint32_t>(size));
      continue;
    }
    const auto few = twins.end() - static_cast<std::ptrdiff_t>(size);
    sorted.insert(sorted.end(), few, twins.end());
    twins.erase(few, twins.end());
  }
  std::sort(sorted.begin(), sorted.end());
  sizes.insert(sizes.begin(), sorted.size(), 1);
  sorted.insert(sorted.end(), twins.begin(), twins.end());
  return sizes;
}

}  // namespace

double lengthOfSpan(const float* frames) {
  double sums[4] = {};
  for (std::size_t i = 0; i < spanFrames; i += 4)
    for (std::size_t lane = 0; lane < 4; ++lane) sums[lane] += double{frames[i + lane]} * double{frames[i + lane]};
  return std::sqrt((sums[0] + sums[1]) + (sums[2] + sums[3]));
}

ScaledSounds scaledSounds(std::span<const float> x, std::span<const std::vector<uint32_t>> crossings) {
  const auto isSoft = [&](uint32_t position) {
    return std::abs(x[position]) < softest && hasSpan(x, position) && lengthOfSpan(framesAt(x, position)) < softest;
  };
  const bool hasSoft = std::any_of(crossings.begin(), crossings.end(), [&](const std::vector<uint32_t>& each) {
    return std::any_of(each.begin(), each.end(), isSoft);
  });
  constexpr double loudSample = loudest / spanFrames;  // no louder one, no loud span
  const bool hasLoud = std::any_of(x.begin(), x.end(), [](float sample) { return std::abs(sample) > loudSample; });
  const auto scaled = [x](double factor) {
    std::vector<float> result(x.begin(), x.end());
    for (float& sample : result) sample *= static_cast<float>(factor);
    return result;
  };
  return {hasSoft ? scaled(times) : std::vector<float>(), hasLoud ? scaled(1 / times) : std::vector<float>()};
}

bool findLoopPlaces(std::span<const float> x, const ScaledSounds& scaled, std::span<const uint32_t> crossings,
                    std::size_t many, const SearchProgress& progress, LoopPlaces& places) {
  constexpr std::size_t crossingsBetween = 1 << 14;  // two asks for progress
  std::vector<HashedPlace> hashed;
  for (std::size_t i = 0; i < crossings.size(); ++i) {
    if (i % crossingsBetween == 0 && !progress(static_cast<double>(i) / static_cast<double>(crossings.size())))
      return false;
    const uint32_t position = crossings[i];
    if (!hasSpan(x, position)) continue;
    const double length = lengthOfSpan(framesAt(x, position));
    if (std::isfinite(length) && length > 0) hashed.push_back({hashOf(framesAt(x, position)), position});
  }
  const auto sizes = groupTwins(x, hashed, many, places.positions);
  places.single = static_cast<std::size_t>(std::count(sizes.begin(), sizes.end(), 1u));
  std::size_t first = 0;
  for (const uint32_t size : sizes) {
    const uint32_t position = places.positions[first];
    LoopSpan span{framesAt(x, position), lengthOfSpan(framesAt(x, position)),
                  std::span(places.positions).subspan(first, size)};
    if (span.length < softest) span = {framesAt(scaled.lifted, position), span.length * times, span.positions};
    if (span.length > loudest) span = {framesAt(scaled.lowered, position), span.length / times, span.positions};
    places.spans.push_back(span);
    first += size;
  }
  return true;
}

StartRange startsFor(std::span<const uint32_t> ascending, std::size_t end, const LoopRange& range) {
  if (end < range.first + range.shortest) return {0, 0};
  const auto before = [&](std::size_t limit) {
    const auto isBefore = [limit](uint32_t each) { return each < limit; };
    const auto found = std::partition_point(ascending.begin(), ascending.end(), isBefore);
    return static_cast<std::size_t>(found - ascending.begin());
  };
  const std::size_t first = before(end - std::min(end, range.longest));
  return {first, std::max(before(end + 2 - range.shortest), first)};
}

}  // namespace tervo
