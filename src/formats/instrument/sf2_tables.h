#pragma once
// The presets, instruments and zones of a bank that is to be written.

#include <vector>

#include "formats/instrument/sf2_bank.h"
#include "formats/instrument/sf2_preset_plan.h"
#include "formats/instrument/sf2_shared_instruments.h"

namespace tervo::sf2 {

/// What becomes an instrument of the bank: a layer, or each run of its regions over the keys, or those of its regions
/// that have the same range of velocities. The smaller ones are shared more often, which takes fewer parameters, but
/// read back as more layers. Where those of runs are put together again their regions are in the same order as before.
enum class Packing : uint8_t { byLayer, byRun, byVelocity };

/// A preset for each instrument of the document. An instrument of the bank is shared by all that differ in ranges and
/// added amounts alone. Rows that the document's instrument sets and all regions set as well stand in the global zone
/// of the preset, what the zones of an instrument have in common in its own global zone.
class BankTables {
 public:
  /// False with LastErrorText when there are more parameters than 16-bit indices reach.
  bool add(const PresetPlan& preset, Packing packing);

  const std::vector<PresetRecord>& presets() const { return presets_; }
  const std::vector<InstrumentRecord>& instruments() const { return instruments_; }
  const ZoneRecords& presetZones() const { return presetZones_; }
  const ZoneRecords& instrumentZones() const { return instrumentZones_; }
  /// Those of which layers or regions had to be left out.
  const std::vector<const Instrument*>& incomplete() const { return incomplete_; }

 private:
  bool addInstrument(const std::vector<ZoneValues>& zones, const ZoneValues& inherited, TextView name,
                     std::size_t number);
  bool addGroup(const std::vector<ZoneValues>& zones, const PresetPlan& preset, const ZoneValues& inherited,
                std::size_t number);
  bool hasRoomForGroup() const;

  std::vector<PresetRecord> presets_;
  std::vector<InstrumentRecord> instruments_;
  ZoneRecords presetZones_, instrumentZones_;
  SharedInstruments shared_;
  std::vector<const Instrument*> incomplete_;
};

}  // namespace tervo::sf2
