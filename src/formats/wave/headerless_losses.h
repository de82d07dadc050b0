#pragma once
// What a waveform loses in a file that holds samples alone, and what is lost of such a file.

#include "formats/format_table.h"

namespace tervo {

/// Reports everything about the waveform that a file without a header cannot say, the rate among it where the file will
/// be read at another one.
void reportHeaderlessLosses(const TargetFile& file, const Waveform& waveform, double readAtHz);

/// Reports bytes at the end of a file that do not make a whole frame, unless there are none.
void reportBytesLeftOver(const SourceFile& file, uint64_t bytes);

}  // namespace tervo
