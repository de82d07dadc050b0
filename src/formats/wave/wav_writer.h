#pragma once
// Writes RIFF-WAVE files, and RF64 (EBU Tech 3306) where the sizes need it.

#include <cstdint>

#include "formats/format_table.h"

namespace tervo {

/// Variant of rows that write WAVE_FORMAT_EXTENSIBLE.
inline constexpr uint32_t extensibleWavVariant = 1;

/// Writes a waveform. False with LastErrorText.
bool writeWav(const Item& item, TargetFile& file, uint32_t variant);

}  // namespace tervo
