#pragma once
// ITU-T G.726 ADPCM at 16, 24, 32 and 40 kbit/s (2 to 5 bits a sample at 8000 Hz). G.721 is its 32 kbit/s rate, and the
// G.723 of 1988 its 24 and 40 kbit/s rates. Samples are the 14-bit linear ones of the standard's optional PCM-less
// interfaces, in the upper bits of 16.

#include "formats/codec/block_codec.h"
#include "formats/codec/code_words.h"

namespace tervo {

/// A decoder of 2 to 5 bits a sample. Several channels alternate word by word.
/// Null, with LastErrorText, for other numbers of bits.
DecoderFactory g726Decoder(int bits, BitOrder order, int channels = 1);
std::unique_ptr<BlockEncoder> g726Encoder(int bits, BitOrder order, int channels = 1);

}  // namespace tervo
