#pragma once
// SoundFont 2 banks: a collection, an instrument with its waveforms, or a waveform with a preset that plays it.

#include "formats/format_table.h"

namespace tervo {

/// Version 2.01, or 2.04 where samples have 24 bits.
bool writeSf2(const Item& item, TargetFile& file, uint32_t variant);

}  // namespace tervo
