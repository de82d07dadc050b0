#pragma once
// sfArk 2 archives: a SoundFont 2 bank in a compressed form of its own.

#include "formats/format_table.h"

namespace tervo {

int detectSfArk(std::span<const std::byte> head, uint32_t variant, uint64_t fileSize);
bool readSfArk(Collection& collection, const SourceFile& file, uint32_t variant);

}  // namespace tervo
