#pragma once
// Sony Wave64 files: the content of RIFF-WAVE under GUIDs and 64-bit sizes.

#include <cstddef>
#include <cstdint>
#include <span>

#include "formats/format_table.h"

namespace tervo {

/// Reads one waveform of one or two channels. False with LastErrorText.
bool readW64(Collection& collection, const SourceFile& file, uint32_t variant);
/// 6 for a file with the GUIDs of Wave64.
int detectW64(std::span<const std::byte> head, uint32_t variant, uint64_t fileSize);

}  // namespace tervo
