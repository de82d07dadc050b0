#include "formats/instrument/sf2_shared_instruments.h"

#include <algorithm>
#include <limits>

namespace tervo::sf2 {
namespace {

constexpr std::size_t amountCount = generatorCount + slotCount;
// Bounds the work on a collection whose instruments all play the same samples.
constexpr std::size_t mostCandidates = 256;

template <typename Values>
auto& amountAt(Values& values, std::size_t i) {
  return i < generatorCount ? values.generators[i] : values.slots[i - generatorCount];
}

constexpr bool isGen(std::size_t i, Gen generator) {
  return i == static_cast<std::size_t>(generator);
}
/// What a zone has for itself.
constexpr bool isOwn(std::size_t i) {
  return isGen(i, Gen::keyRange) || isGen(i, Gen::velocityRange) || isGen(i, Gen::sampleId) ||
         isGen(i, Gen::instrument);
}

/// The most frequent of sorted values.
int16_t mostFrequent(const std::vector<int16_t>& sorted) {
  int16_t found = sorted.front();
  std::ptrdiff_t most = 0;
  for (auto first = sorted.begin(); first != sorted.end();) {
    const auto next = std::upper_bound(first, sorted.end(), *first);
    if (next - first > most) most = next - first, found = *first;
    first = next;
  }
  return found;
}

int16_t bestAmount(std::vector<int16_t>& column, int16_t wished, int16_t usual) {
  const auto cost = [&](int16_t amount) {
    return std::ssize(column) - std::count(column.begin(), column.end(), amount) + (amount != usual);
  };
  std::sort(column.begin(), column.end());
  int16_t best = wished;
  for (const int16_t other : {usual, mostFrequent(column)})
    if (cost(other) < cost(best)) best = other;
  return best;
}

/// Not zero for the amounts in which zones differ.
ZoneValues differencesIn(const std::vector<ZoneValues>& zones) {
  ZoneValues differences;
  const auto collect = [](auto& found, const auto& one, const auto& other) {
    for (std::size_t i = 0; i < found.size(); ++i) found[i] = static_cast<int16_t>(found[i] | (one[i] ^ other[i]));
  };
  for (const ZoneValues& zone : zones) {
    collect(differences.generators, zone.generators, zones.front().generators);
    collect(differences.slots, zone.slots, zones.front().slots);
  }
  return differences;
}

struct Box {
  int lowKey = 127, highKey = 0, lowVelocity = 127, highVelocity = 0;
};
int low(int16_t range) {
  return range & 0xFF;
}
int high(int16_t range) {
  return static_cast<uint16_t>(range) >> 8;
}

Box boxOf(const std::vector<ZoneValues>& zones) {
  Box box;
  for (const ZoneValues& zone : zones) {
    box.lowKey = std::min(box.lowKey, low(zone[Gen::keyRange]));
    box.highKey = std::max(box.highKey, high(zone[Gen::keyRange]));
    box.lowVelocity = std::min(box.lowVelocity, low(zone[Gen::velocityRange]));
    box.highVelocity = std::max(box.highVelocity, high(zone[Gen::velocityRange]));
  }
  return box;
}

/// The part of a range that the box leaves; nothing where that is empty.
std::optional<int16_t> cut(int16_t range, int lowest, int highest) {
  const int first = std::max(low(range), lowest), last = std::min(high(range), highest);
  return first <= last ? std::optional(rangeAmount(first, last)) : std::nullopt;
}

/// All bits set but for ranges, which are compared when they have been cut.
constexpr std::array<int16_t, generatorCount> makeNotRange() {
  std::array<int16_t, generatorCount> mask{};
  mask.fill(-1);
  mask[static_cast<std::size_t>(Gen::keyRange)] = mask[static_cast<std::size_t>(Gen::velocityRange)] = 0;
  return mask;
}
constexpr std::array<int16_t, generatorCount> notRange = makeNotRange();

/// Compares the zones of an instrument, within a box, with wanted ones one after another.
class Comparison {
 public:
  Comparison(const std::vector<ZoneValues>& wanted, const Box& box) : wanted_(wanted), box_(box) {}

  /// False when it does not fit.
  bool take(const ZoneValues& zone) {
    const auto keys = cut(zone[Gen::keyRange], box_.lowKey, box_.highKey);
    const auto velocities = cut(zone[Gen::velocityRange], box_.lowVelocity, box_.highVelocity);
    const bool isWhole = keys == zone[Gen::keyRange] && velocities == zone[Gen::velocityRange];
    if (!isWhole) isCut_ = true;
    if (!keys || !velocities) return true;
    if (taken_ == wanted_.size()) return false;
    const ZoneValues& other = wanted_[taken_++];
    return other[Gen::keyRange] == *keys && other[Gen::velocityRange] == *velocities && agrees(zone, other);
  }
  bool isComplete() const { return taken_ == wanted_.size(); }
  ZoneValues added() const {
    ZoneValues values = added_;
    for (const Gen own : {Gen::keyRange, Gen::velocityRange, Gen::sampleId, Gen::instrument})
      values[own] = presetDefaults()[own];
    if (isCut_) {
      values[Gen::keyRange] = rangeAmount(box_.lowKey, box_.highKey);
      values[Gen::velocityRange] = rangeAmount(box_.lowVelocity, box_.highVelocity);
    }
    return values;
  }

 private:
  /// The first zone says by how much the amounts may differ, the others differ by the same.
  bool agrees(const ZoneValues& zone, const ZoneValues& other) {
    if (taken_ == 1) {
      for (std::size_t i = 0; i < generatorCount; ++i)
        added_.generators[i] = static_cast<int16_t>((other.generators[i] - zone.generators[i]) & summedMask[i]);
      for (std::size_t i = 0; i < slotCount; ++i)
        added_.slots[i] = static_cast<int16_t>(other.slots[i] - zone.slots[i]);
    }
    int apart = 0;
    for (std::size_t i = 0; i < generatorCount; ++i)
      apart |= ((other.generators[i] - zone.generators[i]) ^ added_.generators[i]) & notRange[i];
    for (std::size_t i = 0; i < slotCount; ++i) apart |= (other.slots[i] - zone.slots[i]) ^ added_.slots[i];
    return apart == 0;
  }

  const std::vector<ZoneValues>& wanted_;
  const Box& box_;
  std::size_t taken_ = 0;
  bool isCut_ = false;
  ZoneValues added_;
};

}  // namespace

ZoneValues globalValues(const std::vector<ZoneValues>& zones, const ZoneValues& wished) {
  ZoneValues global = instrumentDefaults();
  if (zones.empty()) return global;
  const ZoneValues differences = differencesIn(zones);
  std::vector<int16_t> column(zones.size());
  for (std::size_t i = 0; i < amountCount; ++i) {
    if (isOwn(i)) continue;
    const int16_t first = amountAt(zones.front(), i), wish = amountAt(wished, i);
    int16_t& amount = amountAt(global, i);
    // The usual case, and what the general one finds there.
    const bool isShared = amountAt(differences, i) == 0 && (first == wish || first == amount);
    if (!isShared)
      std::transform(zones.begin(), zones.end(), column.begin(),
                     [i](const ZoneValues& zone) { return amountAt(zone, i); });
    amount = isShared ? first : bestAmount(column, wish, amount);
  }
  return global;
}

std::optional<InstrumentUse> SharedInstruments::find(const std::vector<ZoneValues>& zones) const {
  const auto places = bySample_.find(zones.front()[Gen::sampleId]);
  if (places == bySample_.end()) return std::nullopt;
  const Box box = boxOf(zones);
  std::size_t tried = 0;
  for (auto place = places->second.rbegin(); place != places->second.rend() && tried < mostCandidates;
       ++place, ++tried) {
    Comparison comparison(zones, box);
    const auto& candidate = instruments_[*place];
    const bool fits =
        std::all_of(candidate.begin(), candidate.end(), [&](const ZoneValues& zone) { return comparison.take(zone); });
    if (fits && comparison.isComplete()) return InstrumentUse{indices_[*place], comparison.added()};
  }
  return std::nullopt;
}

void SharedInstruments::add(uint16_t index, std::vector<ZoneValues> zones) {
  for (const ZoneValues& zone : zones) {
    auto& places = bySample_[zone[Gen::sampleId]];
    if (places.empty() || places.back() != instruments_.size()) places.push_back(instruments_.size());
  }
  instruments_.push_back(std::move(zones));
  indices_.push_back(index);
}

}  // namespace tervo::sf2
