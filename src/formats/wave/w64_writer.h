#pragma once
// Writes Sony Wave64 files in the layout that the reader takes. Loops and key stand in "smpl" and "inst" under their
// GUIDs, which programs that do not know them skip.

#include <cstdint>

#include "formats/format_table.h"

namespace tervo {

/// Writes a waveform. False with LastErrorText.
bool writeW64(const Item& item, TargetFile& file, uint32_t variant);

}  // namespace tervo
