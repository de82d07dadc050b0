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

/// Adds a waveform named after the file, decoded while it is read. The user's rate and offset go before those of the
/// coding. `framesOf` says how many frames a number of bytes holds. False with LastErrorText ("Zero length").
bool addCodedWaveform(Collection& collection, const SourceFile& file, RawCoding coding,
                      int64_t (*framesOf)(const RawCoding& coding, uint64_t bytes), DecoderFactory decoder);

/// Frames of codes that are as wide as the format has bits, one behind the other.
int64_t framesOfCodes(const RawCoding& coding, uint64_t bytes);

/// Writes a waveform's coded samples and nothing else; reports what the file cannot say, its rate among it where that
/// is not the one of `coding`, at which it will be read. False with LastErrorText.
bool writeCodedWaveform(const Item& item, TargetFile& file, const RawCoding& coding,
                        std::unique_ptr<BlockEncoder> encoder);

}  // namespace tervo
