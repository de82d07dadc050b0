#pragma once
// What a WAV file says about a waveform beside its samples, as the writer puts it together: from the model, and from
// the chunks of the source where those still say the same and hold more.

#include "base/byte_writer.h"
#include "core/report.h"
#include "core/waveform.h"

namespace tervo {

/// Text, markers, loops, instrument data and ID3, each in its chunk. What WAV cannot hold goes into the report.
void writeWavMetadata(ByteWriter& writer, const Waveform& waveform, ConversionReport& report);

/// Copies the chunks that the program does not understand. Those that describe the sample values are left out unless
/// `samplesAreSame`. False with LastErrorText when the source fails.
bool writeForeignChunks(ByteWriter& writer, const Waveform& waveform, bool beforeSamples, bool samplesAreSame,
                        ConversionReport& report);

}  // namespace tervo
