#pragma once
// Samples without a header: the raw-data fallback of row 0, and the rows whose extension says the coding. Such rows are
// read as one channel at the rate that is usual for the coding, unless the user says otherwise.

#include "core/sample_format.h"
#include "formats/format_table.h"

namespace tervo {

/// Row 0: everything about the layout comes from the user, or from the defaults of RawLayout.
bool readRaw(Collection& collection, const SourceFile& file, uint32_t variant);

/// Reads samples with this layout, except for what the user says otherwise.
bool readHeaderless(Collection& collection, const SourceFile& file, const RawLayout& usual);

/// The rate in Hz at which a headerless file of this format is read.
constexpr double headerlessRate(SampleFormat format) {
  if (format == SampleFormat::muLaw || format == SampleFormat::aLaw) return 8000;
  return format == SampleFormat::pcm12 ? 32000 : 44100;  // 12 bits: ROMs of drum machines
}

/// One channel of one sample format. The variant is the layout: Unsigned, BigEndian.
template <SampleFormat format>
bool readHeaderless(Collection& collection, const SourceFile& file, uint32_t variant) {
  return readHeaderless(collection, file, RawLayout{formatWord(format, variant), 1, headerlessRate(format)});
}

/// Two channels of big-endian 16-bit samples, as on audio CDs and in DVD linear PCM. The variant is the rate in Hz.
bool readStereoWords(Collection& collection, const SourceFile& file, uint32_t variant);

/// Writes a waveform's samples and nothing else, in the row's sample format. The variant is the layout.
bool writeHeaderless(const Item& item, TargetFile& file, uint32_t variant);

/// 2 when the bytes look like signed 8-bit sound, else 1, which loses to row 0 even with the right extension: ".raw"
/// may be anything.
int detectSignedBytes(std::span<const std::byte> head, uint32_t variant, uint64_t fileSize);

}  // namespace tervo
