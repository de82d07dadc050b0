#pragma once
// Damage that shows only when samples are decoded: opening a file does not read them.

#include "core/item.h"
#include "core/report.h"
#include "core/waveform.h"

namespace tervo {

/// Reports each waveform of the item, or that its regions play, whose frames turned out to be damaged; once where
/// several stand in one stream. Then reportSilenced() for each.
void reportDamage(const Item& item, ConversionReport& report);

/// Reports how many samples of a waveform were no finite numbers and had to be silenced while it was converted.
void reportSilenced(const Waveform& waveform, ConversionReport& report);

}  // namespace tervo
