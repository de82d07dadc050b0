#pragma once
// The samples of SoundFont 1 banks, whose names and positions stand in two chunks, and whose pitches in the zones.

#include "formats/instrument/sf2_bank.h"

namespace tervo::sf2 {

inline constexpr std::size_t sf1SampleBytes = 16;  ///< of a record of "shdr"

/// The records as SoundFont 2 has them, from the bodies of "shdr" and "snam".
std::vector<SampleRecord> sf1Samples(std::span<const std::byte> positions, std::span<const std::byte> names);

/// Gives each sample the pitch of the first zone that says one, and clears what only SoundFont 2 defines.
void finishSf1(Bank& bank);

}  // namespace tervo::sf2
