#pragma once
// Writes sample data in the coding of a block encoder: the stored bytes where they are in it already, else encoded in
// pieces that the encoder can take.

#include "core/host.h"
#include "core/report.h"
#include "core/sample_data.h"
#include "core/waveform.h"
#include "formats/clipping.h"
#include "formats/codec/block_codec.h"

namespace tervo {

/// Whether the source holds all frames in just this coding, so that nothing is lost in coding them again.
bool isCodedAs(const SampleData& samples, const BlockEncoder& encoder);

/// Reports that a waveform is coded again in its sample format, but with other bytes than the source's.
void reportRecoding(const Waveform& waveform, const BlockEncoder& encoder, ConversionReport& report);

/// Writes encoder.bytesFor(samples.frames()) bytes, and counts samples that the 16 bits which all these codings start
/// from cannot hold. False with LastErrorText when reading or writing fails or the user stops ("Save aborted!").
bool writeCoded(const SampleData& samples, BlockEncoder& encoder, ByteSink& sink, Host& host, ClippingCount& clipping);

/// Copies bytes, with progress. False as above.
bool copyBytes(const ByteSource& source, uint64_t offset, uint64_t bytes, ByteSink& sink, Host& host);

}  // namespace tervo
