#pragma once
// Damage that shows only when samples are decoded: opening a file does not read them.

#include "core/item.h"
#include "core/report.h"

namespace tervo {

/// Reports each waveform of the item, or that its regions play, whose frames turned out to be damaged; once where
/// several stand in one stream.
void reportDamage(const Item& item, ConversionReport& report);

}  // namespace tervo
