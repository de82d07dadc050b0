#pragma once
// Zones of SoundFont 1 banks. Their generators bear the numbers of SoundFont 2, but most have units of their own (those
// of the sound card's registers), and what a preset's zone says counts only where the instrument's says nothing. Nobody
// has published the format; the units are those that free loaders for the card found out.

#include "formats/instrument/sf2_zone.h"

namespace tervo::sf2 {

/// A zone that says nothing, to read one over: ranges are whole, all other amounts are a number no zone has.
const ZoneValues& unsaidZone();

/// The zone of an instrument as a preset's zone plays it, in units of SoundFont 2. `sample` is the record of its
/// sample, for the pitch that the zone gives it.
ZoneValues sf1Combined(const ZoneValues& instrument, const ZoneValues& preset, const SampleRecord& sample);

/// Gives the record root key and correction of a sample pitch (hundreds are keys, the rest cents above).
void setSamplePitch(SampleRecord& record, int16_t pitch);

/// The generator that says a sample's pitch; SoundFont 2 keeps it reserved.
inline constexpr std::size_t samplePitchGenerator = 55;

}  // namespace tervo::sf2
