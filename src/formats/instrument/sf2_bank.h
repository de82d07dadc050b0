#pragma once
// The chunks of a SoundFont bank, found and loaded; their records are not interpreted here.

#include <memory>
#include <vector>

#include "base/byte_source.h"
#include "core/sample_data.h"
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

enum class BankFormat : uint8_t { soundFont1, soundFont2 };

struct Bank {
  std::shared_ptr<const ByteSource> source;
  int majorVersion = 2;
  bool hasPackedForm = false;    ///< "sfpk"
  bool mayBeCompressed = false;  ///< by form or version

  uint64_t samplesAt = 0, sampleBytes = 0;  ///< "smpl"
  uint64_t words = 0;                       ///< of 16 bits that are there
  SampleRef packed = {};                    ///< the words, where all of them are one compressed stream
  SampleFormat packedFormat = SampleFormat::pcm16;
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
/// a Sound Font v2.x file" ("Not a SoundFont v1.x file").
std::unique_ptr<Bank> loadBank(std::shared_ptr<const ByteSource> source, Tags& tags, LossTally& losses,
                               BankFormat format = BankFormat::soundFont2);

}  // namespace tervo::sf2
