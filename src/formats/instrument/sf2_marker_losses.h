#pragma once
// Markers of waveforms that a bank has no place for.

#include <vector>

#include "core/instrument.h"
#include "core/report.h"
#include "core/waveform.h"

namespace tervo::sf2 {

/// A bank has a waveform's main loop, and the sections and loops that regions select, all without names; only regions
/// say how a loop plays.
void noteMarkerLosses(const std::vector<const Waveform*>& waveforms, const std::vector<const Instrument*>& instruments,
                      ConversionReport& report);

}  // namespace tervo::sf2
