#pragma once
// Markers and text of Wave64, both ways.
//
// Markers (Sony, "Wave64 file format", CUE64): a 32-bit count, then for each marker 32 bytes (ID, 32 bits; 4 bytes of
// zeros; position and length in frames, 64 bits each, the length of a mere position being -1; bytes of the name, 32
// bits; 4 bytes of zeros) and the name in UTF-16 with its zero.
// Summary: a 32-bit count, then for each text the four characters of its RIFF name, its bytes (32 bits) and UTF-16.

#include <span>

#include "base/byte_writer.h"
#include "core/report.h"
#include "core/waveform.h"
#include "formats/wave/info_tags.h"
#include "formats/wave/wav_markers.h"

namespace tervo {

std::vector<NamedPoint> readW64Markers(std::span<const std::byte> body);
void writeW64Markers(ByteWriter& writer, const Waveform& waveform, ConversionReport& report);

/// Texts that no tag stands for are appended to `kept`, as UTF-8, where that is given.
void readW64Summary(std::span<const std::byte> body, Tags& tags, std::vector<KeptInfo>* kept = nullptr);
void writeW64Summary(ByteWriter& writer, const Tags& tags, std::span<const KeptInfo> kept);

}  // namespace tervo
