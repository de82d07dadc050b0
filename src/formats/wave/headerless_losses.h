#pragma once
// What a waveform loses in a file that holds samples alone.

#include "formats/format_table.h"

namespace tervo {

/// Reports everything about the waveform that a file without a header cannot say, the rate among it where the file will
/// be read at another one.
void reportHeaderlessLosses(const TargetFile& file, const Waveform& waveform, double readAtHz);

}  // namespace tervo
