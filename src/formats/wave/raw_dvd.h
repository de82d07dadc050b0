#pragma once
// Linear PCM of 24 bits as it stands in the packets of a DVD, without their headers: two channels, big-endian, in
// groups of two frames, first the upper 16 bits of the four samples and then their lowest bytes (DVD Specifications
// for Read-Only Disc, Part 3, "Linear PCM").

#include "formats/format_table.h"

namespace tervo {

/// The variant is the rate in Hz.
bool readDvdWords24(Collection& collection, const SourceFile& file, uint32_t variant);

}  // namespace tervo
