#pragma once
// Headerless files of a block codec: what reading one and writing one have in common.

#include "formats/codec/block_codec.h"
#include "formats/format_table.h"

namespace tervo {

/// What a file without a header is taken for.
struct RawCoding {
  SampleFormat format = SampleFormat::adpcm4;
  uint32_t flags = 0;   ///< layout flags of the format word
  double rate = 8000;   ///< Hz
  uint64_t offset = 0;  ///< bytes before the samples
  int channels = 1;
};

/// The coding with the user's rate, and with the user's offset further on, where there are any.
RawCoding asTheUserSays(RawCoding coding, const SourceFile& file);

/// Bytes from the coding's offset on, no more than the user says.
uint64_t codedBytes(const RawCoding& coding, const SourceFile& file);
/// How many whole codes of `bits` bits, one behind the other, that many bytes hold.
int64_t wholeCodes(uint64_t bytes, int bits);

/// Adds a waveform named after the file, decoded while it is read. False with LastErrorText ("Zero length", "Invalid
/// sample rate").
bool addCodedWaveform(Collection& collection, const SourceFile& file, const RawCoding& coding, int64_t frames,
                      DecoderFactory decoder);

/// Writes a waveform's coded samples and nothing else; reports what the coding loses and the file cannot say, the rate
/// among it where that is not the one of `coding`, at which it will be read. False with LastErrorText.
bool writeCodedWaveform(const Item& item, TargetFile& file, const RawCoding& coding,
                        std::unique_ptr<BlockEncoder> encoder);

}  // namespace tervo
