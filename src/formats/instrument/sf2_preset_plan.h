#pragma once
// The values of all zones of a preset that is to be written, before anything is known of the other presets.

#include <unordered_map>
#include <vector>

#include "core/instrument.h"
#include "formats/format_table.h"
#include "formats/instrument/sf2_sample_plan.h"
#include "formats/instrument/sf2_zone.h"

namespace tervo::sf2 {

struct LayerZones {
  ZoneValues inherited;           ///< what regions that say nothing have
  std::vector<ZoneValues> zones;  ///< one for each channel of each region, without the preset's global values
  bool isComplete = true;         ///< false: samples have numbers that no zone can name
};

struct PresetPlan {
  const Instrument* instrument = nullptr;
  RecordName name{};
  /// Rows that the instrument sets and all regions set as well, as what a global zone adds.
  ZoneValues global;
  std::vector<LayerZones> layers;
};

/// The values of articulations. Remembers them: presets of large banks play the same regions again and again.
class ConvertedArticulations {
 public:
  struct Converted {
    ZoneValues values;
    bool isExact;  ///< whether the values read as the very same rows
  };
  const Converted& of(const ArticulationSet& rows);

 private:
  struct Hash {
    std::size_t operator()(const ArticulationSet& rows) const;
  };
  std::unordered_map<ArticulationSet, Converted, Hash> known_;
  /// By where the entries of the sets in known_ stand, which most others share.
  std::unordered_map<const ArticulationSet::Entry*, const Converted*> byEntries_;
};

/// What a bank cannot say goes into the report.
PresetPlan planPreset(const Instrument& instrument, const SamplePlan& samples, ConvertedArticulations& converted,
                      ConversionReport& report);

constexpr bool fitsAmount(int value) {
  return value >= -32768 && value <= 32767;
}

/// Calls `use` with every amount of both that is added between presets and instruments.
template <typename Values, typename OtherValues, typename Use>
void forEachSummed(Values& a, OtherValues& b, const Use& use) {
  for (std::size_t i = 0; i < generatorCount; ++i)
    if (isSummed(i)) use(a.generators[i], b.generators[i]);
  for (std::size_t i = 0; i < slotCount; ++i) use(a.slots[i], b.slots[i]);
}

}  // namespace tervo::sf2
