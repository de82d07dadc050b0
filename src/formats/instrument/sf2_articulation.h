#pragma once
// Between the summed values of a zone and the articulation rows of the document, in both directions. Reading what was
// written gives the same rows again.

#include <vector>

#include "core/articulation_set.h"
#include "formats/instrument/sf2_zone.h"

namespace tervo::sf2 {

/// A value that a row has no room for, and what it became.
struct ClippedRow {
  ParameterId row;
  double from, to;
};

/// All rows that a bank can say. Rows that are clipped to their range are appended to `clipped`.
ArticulationSet articulationOf(const ZoneValues& values, std::vector<ClippedRow>* clipped = nullptr);

/// Whether the values read as just these rows.
bool readsAs(const ZoneValues& values, const ArticulationSet& rows);

/// The values that say the rows; absent rows have their defaults. Generators that are no articulation are those of
/// instrumentDefaults().
ZoneValues zoneValuesOf(const ArticulationSet& rows);

/// Whether a row can be heard at all: the rate of an LFO that moves nothing, for one, cannot.
bool isHeard(const ArticulationSet& rows, ParameterId row);

}  // namespace tervo::sf2
