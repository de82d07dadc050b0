#pragma once
// Which waveforms of one channel are the two sides of one sound. The document has no link between waveforms: how they
// are played says so, or their names.

#include <vector>

#include "core/collection.h"
#include "formats/instrument/sf2_bank.h"

namespace tervo::sf2 {

struct StereoPair {
  ItemId left = noItem, right = noItem;
};

/// Waveforms of equal rate that a layer plays together, one further left than the other. A waveform is in one pair, the
/// first that is found.
std::vector<StereoPair> pairsByUse(const std::vector<const Instrument*>& instruments);

/// Whether the names say that the two are the sides of one sound.
bool arePairedByName(const Waveform& left, const Waveform& right);

/// Reports the links of a bank that the document does not show, neither by use nor by name. `waveforms` has those of
/// the bank by index, null for samples that were left out.
void noteLostLinks(const Bank& bank, const std::vector<Waveform*>& waveforms, const Collection& collection,
                   ConversionReport& report);

}  // namespace tervo::sf2
