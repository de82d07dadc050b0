#pragma once
// AIFF and AIFF-C files (Apple), and MAUD, the IFF form of MacroSystem's sound cards.

#include <cstddef>
#include <cstdint>
#include <span>

#include "formats/format_table.h"

namespace tervo {

/// Reads one waveform from any of the three. False with LastErrorText.
bool readAiff(Collection& collection, const SourceFile& file, uint32_t variant);

/// 6 for an AIFF or AIFF-C file, for an AIFF-C file, for a MAUD file.
int detectAiff(std::span<const std::byte> head, uint32_t variant, uint64_t fileSize);
int detectAifc(std::span<const std::byte> head, uint32_t variant, uint64_t fileSize);
int detectMaud(std::span<const std::byte> head, uint32_t variant, uint64_t fileSize);

}  // namespace tervo
