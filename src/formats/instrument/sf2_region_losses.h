#pragma once
// What a bank cannot say of a region.

#include "core/instrument.h"
#include "formats/instrument/sf2_zone.h"
#include "formats/loss_tally.h"

namespace tervo::sf2 {

/// Compares the articulation that applies to a region with what `values` will read as, and looks for rows of its
/// trigger that a bank does not know.
void noteRegionLosses(const Region& region, const ArticulationSet& effective, const ZoneValues& values,
                      LossTally& losses);

}  // namespace tervo::sf2
