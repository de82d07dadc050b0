#pragma once
// The presets, instruments and zones of a bank that is to be written.

#include <string>
#include <unordered_map>
#include <vector>

#include "core/instrument.h"
#include "formats/format_table.h"
#include "formats/instrument/sf2_bank.h"
#include "formats/instrument/sf2_sample_plan.h"
#include "formats/instrument/sf2_zone.h"

namespace tervo::sf2 {

/// A preset for each instrument of the document. Each of its layers is an instrument of the bank, shared by all that
/// are equal. Rows that the document's instrument sets and all regions set as well stand in the global zone of the
/// preset; other rows that the instrument or the layer sets in the global zone of the bank's instrument.
class BankTables {
 public:
  BankTables(const SamplePlan& samples, TargetFile& file) : samples_(samples), file_(file) {}

  /// False with LastErrorText when there are more parameters than 16-bit indices reach.
  bool add(const Instrument& instrument);

  const std::vector<PresetRecord>& presets() const { return presets_; }
  const std::vector<InstrumentRecord>& instruments() const { return instruments_; }
  const ZoneRecords& presetZones() const { return presetZones_; }
  const ZoneRecords& instrumentZones() const { return instrumentZones_; }

 private:
  /// The zones of a layer: first the global one, then one for each channel of each region.
  struct LayerZones {
    ZoneValues global;
    std::vector<ZoneValues> zones;
  };

  LayerZones zonesOf(const Layer& layer, const ArticulationSet& shared, LossTally& losses);
  bool addRegion(const Region& region, std::vector<ZoneValues>& zones, LossTally& losses);
  /// The index of the instrument with these zones, which is added where there is none yet.
  std::optional<uint16_t> instrumentOf(const LayerZones& layer, TextView name, std::size_t number);
  bool hasRoomForLayer() const;
  void warn(const Instrument& instrument);

  const SamplePlan& samples_;
  TargetFile& file_;
  std::vector<PresetRecord> presets_;
  std::vector<InstrumentRecord> instruments_;
  ZoneRecords presetZones_, instrumentZones_;
  std::unordered_map<std::string, uint16_t> known_;
  bool warned_ = false;
};

}  // namespace tervo::sf2
