#pragma once
// A bank has room for 65535 parameters, so its instruments say things once: what most zones of one have in common, and
// zones that several presets play with other amounts or on other keys.

#include <cstdint>
#include <optional>
#include <unordered_map>
#include <vector>

#include "formats/instrument/sf2_zone.h"

namespace tervo::sf2 {

/// The values of a global zone with which the zones below it take the fewest parameters; `wished` where that is as good
/// as any.
ZoneValues globalValues(const std::vector<ZoneValues>& zones, const ZoneValues& wished);

/// How a zone of a preset uses an instrument: the ranges, and the amounts that are added.
struct InstrumentUse {
  uint16_t index = 0;
  ZoneValues added = presetDefaults();
};

class SharedInstruments {
 public:
  /// The use of an instrument added before that plays just these zones. Nothing when there is none.
  std::optional<InstrumentUse> find(const std::vector<ZoneValues>& zones) const;
  void add(uint16_t index, std::vector<ZoneValues> zones);

 private:
  std::vector<std::vector<ZoneValues>> instruments_;
  std::vector<uint16_t> indices_;
  std::unordered_map<int16_t, std::vector<std::size_t>> bySample_;  ///< places in instruments_
};

}  // namespace tervo::sf2
