#pragma once
// What a zone says about the waveform of a region beside its articulation: how it loops, which part of it plays.

#include "core/instrument.h"
#include "core/waveform.h"
#include "formats/instrument/sf2_zone.h"
#include "formats/loss_tally.h"

namespace tervo::sf2 {

/// Sets the rows of the region, and gives the waveform the markers that they select.
void setPlayback(Region& region, Waveform& waveform, const ZoneValues& values, LossTally& losses);

/// The other way round, for the waveform as it is written, which may have another rate than the region's; what a bank
/// has no place for goes into `losses`.
void setPlaybackValues(ZoneValues& values, const Region& region, const Waveform& written, LossTally& losses);

/// What a bank cannot say of a loop, played or not.
void noteLoopLosses(const Marker& loop, LossTally& losses);

/// A waveform's loop as its record holds it, in frames from its start; both 0 when there is none.
struct FrameLoop {
  uint32_t start = 0, end = 0;
};
FrameLoop recordLoop(const Waveform& waveform);

}  // namespace tervo::sf2
