#pragma once
// The presets of a bank as instruments.

#include "core/collection.h"
#include "formats/format_table.h"
#include "formats/instrument/sf2_bank.h"

namespace tervo::sf2 {

/// Adds an instrument for every preset. `waveforms` has those of the bank by index, null for samples that were left
/// out.
void addInstruments(Collection& collection, const Bank& bank, const std::vector<Waveform*>& waveforms,
                    const SourceFile& file, LossTally& losses);

}  // namespace tervo::sf2
