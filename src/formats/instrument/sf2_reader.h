#pragma once
// SoundFont 2 banks ("SoundFont Technical Specification" 2.04). Each preset becomes an instrument, the zones that its
// own zones refer to become regions, each sample a waveform.

#include <cstdint>
#include <span>

#include "formats/format_table.h"

namespace tervo {

/// The variant of rows whose banks hold compressed samples.
inline constexpr uint32_t compressedBank = 3;

int detectSf2(std::span<const std::byte> head, uint32_t variant, uint64_t fileSize);
int detectSf1(std::span<const std::byte> head, uint32_t variant, uint64_t fileSize);
/// SoundFont 1 banks, whose zones have other units.
bool readSf1(Collection& collection, const SourceFile& file, uint32_t variant);
bool readSf2(Collection& collection, const SourceFile& file, uint32_t variant);

}  // namespace tervo
