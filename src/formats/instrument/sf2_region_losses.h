#pragma once
// What a bank cannot say of a region.

#include "core/instrument.h"
#include "formats/instrument/sf2_zone.h"
#include "formats/loss_tally.h"

namespace tervo::sf2 {

/// Compares the articulation that applies to a region with what its zone's values will read as.
void noteArticulationLosses(const ArticulationSet& effective, const ArticulationSet& written, LossTally& losses);

/// Gains that others may not play, and rows of the trigger that a bank does not know.
void noteRegionLosses(const Region& region, const ZoneValues& values, LossTally& losses);

}  // namespace tervo::sf2
