#pragma once
// AIFF files (Apple, "Audio Interchange File Format" 1.3), uncompressed.

#include "formats/format_table.h"

namespace tervo {

/// Writes a waveform, with the chunks of an AIFF source that the program does not understand. False with LastErrorText.
bool writeAiff(const Item& item, TargetFile& file, uint32_t variant);

}  // namespace tervo
