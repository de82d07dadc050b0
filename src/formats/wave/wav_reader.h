#pragma once
// RIFF-WAVE files, with RF64 (EBU Tech 3306) and WAVE_FORMAT_EXTENSIBLE, and the "LIST" "wave" form of DLS.

#include <cstddef>
#include <cstdint>
#include <span>

#include "formats/format_table.h"

namespace tervo {

/// Reads one waveform. False with LastErrorText.
bool readWav(Collection& collection, const SourceFile& file, uint32_t variant);

/// 6 for any RIFF-WAVE or RF64 file.
int detectWav(std::span<const std::byte> head, uint32_t variant, uint64_t fileSize);
/// 6 for one whose "bext" chunk (EBU Tech 3285) stands before the samples, 2 for any other.
int detectBroadcastWav(std::span<const std::byte> head, uint32_t variant, uint64_t fileSize);
/// 6 for one that begins with the format tag 768.
int detectCompressedGigaWav(std::span<const std::byte> head, uint32_t variant, uint64_t fileSize);

}  // namespace tervo
