#pragma once
// The chunks of a SoundFont bank, found and loaded; their records are not interpreted here.

#include <memory>
#include <vector>

#include "base/byte_source.h"
#include "core/tags.h"
#include "formats/chunk_walker.h"
#include "formats/instrument/sf2_records.h"
#include "formats/loss_tally.h"

namespace tervo::sf2 {

/// Zones of presets or of instruments.
struct ZoneRecords {
  std::vector<BagRecord> bags;
  std::vector<ModulatorRecord> modulators;
  std::vector<GeneratorRecord> generators;
};

struct Bank {
  std::shared_ptr<const ByteSource> source;
  int majorVersion = 2;

  uint64_t wordsAt = 0;  ///< offset of "smpl"
  uint64_t words = 0;    ///< 16-bit words that are there
  uint64_t lowBytesAt = 0;
  uint64_t lowBytes = 0;  ///< of 24-bit samples, one for each word; 0 when the bank has 16 bits

  // Without the records that end them.
  std::vector<PresetRecord> presets;
  std::vector<InstrumentRecord> instruments;
  std::vector<SampleRecord> samples;
  // Where the zones of the last one end.
  std::size_t presetBagsEnd = 0, instrumentBagsEnd = 0;
  ZoneRecords presetZones, instrumentZones;
};

/// Loads everything but the samples, and the texts of "INFO" into `tags`. Null with "Not a SoundFont2 file" or "Not
/// a Sound Font v2.x file".
std::unique_ptr<Bank> loadBank(std::shared_ptr<const ByteSource> source, Tags& tags, LossTally& losses);

}  // namespace tervo::sf2
