#pragma once
// Headerless ADPCM files: Dialogic .vox, Rockwell voice modems', Yamaha's.

#include "formats/format_table.h"

namespace tervo {

/// In the setting "Data format of .VOX files", beside a format word: its ADPCM is the Dialogic one. Without it ADPCM is
/// that of ITU-T G.726, as everywhere where a format word says no more than "ADPCM".
inline constexpr uint32_t DialogicAdpcm = 0x08000000;

/// The variant is the rate in Hz, of Dialogic ADPCM; with 0 the setting says what the file holds, at 8000 Hz.
bool readVox(Collection& collection, const SourceFile& file, uint32_t variant);
/// Always Dialogic ADPCM.
bool writeVox(const Item& item, TargetFile& file, uint32_t variant);

/// The variant is the bits of a code; with 0 they are 4. A raw modem data header ("RMD1", as mgetty's voice tools write
/// it) goes before both and before the usual 7200 Hz.
bool readRockwell(Collection& collection, const SourceFile& file, uint32_t variant);
/// Writes codes without a header: of the variant's bits, with 0 those of the sample format to be saved.
bool writeRockwell(const Item& item, TargetFile& file, uint32_t variant);
/// 6 for a raw modem data header that names a modem with this coding, else 2.
int detectRockwell(std::span<const std::byte> head, uint32_t variant, uint64_t fileSize);

/// One channel unless the user says two; at 44100 Hz unless the user says otherwise.
bool readYamahaAdpcm(Collection& collection, const SourceFile& file, uint32_t variant);
bool writeYamahaAdpcm(const Item& item, TargetFile& file, uint32_t variant);

}  // namespace tervo
