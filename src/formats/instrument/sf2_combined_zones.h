#pragma once
// How a preset's zone and an instrument's become one: ranges that both play, amounts that are added, and the
// articulation rows that this comes to.

#include <optional>
#include <span>
#include <string_view>
#include <type_traits>
#include <unordered_map>

#include "core/articulation_set.h"
#include "core/levels.h"
#include "formats/instrument/sf2_bank.h"
#include "formats/instrument/sf2_zone.h"

namespace tervo::sf2 {

/// The part of the keys or velocities that both zones play; nothing where that is empty.
std::optional<Range> commonRange(const ZoneValues& a, const ZoneValues& b, Gen generator);

/// How the zones of a bank's format are read and put together.
struct ZoneRules {
  const ZoneValues& instrument;  ///< what a zone has where it says nothing
  const ZoneValues& preset;
  ZoneValues (*combine)(const ZoneValues& instrument, const ZoneValues& preset, const SampleRecord& sample,
                        LossTally& losses);
};

ZoneRules rulesFor(const Bank& bank);

/// Rows that a preset's global zone says: those in which it differs from a zone that says nothing.
ArticulationSet globalRows(const ZoneRules& rules, const ZoneValues& global);

/// The articulation of combined zones. Remembers it: presets of large banks play the same zones again and again. What
/// loses something is not remembered, so that each loss is reported.
class KnownArticulations {
 public:
  explicit KnownArticulations(const Bank& bank) { known_.reserve(4 * bank.instrumentZones.bags.size()); }

  ArticulationSet of(ZoneValues values, LossTally& losses);

 private:
  struct Hash {
    std::size_t operator()(const ZoneValues& values) const {
      const auto bytes = std::as_bytes(std::span(&values, 1));
      return std::hash<std::string_view>()({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
    }
  };
  static_assert(std::has_unique_object_representations_v<ZoneValues>);
  std::unordered_map<ZoneValues, ArticulationSet, Hash> known_;
};

}  // namespace tervo::sf2
