#pragma once
// ITU-T G.722: 7 kHz audio sampled at 16000 Hz, as two sub-bands of ADPCM at 8000 Hz each. A code word of 8 bits stands
// for two samples (64 kbit/s); the modes of 56 and 48 kbit/s leave out one or two of the lower band's bits.

#include "formats/codec/block_codec.h"
#include "formats/codec/code_words.h"

namespace tervo {

/// A decoder of code words of 6, 7 or 8 bits, packed without gaps. Several channels alternate word by word. Null, with
/// LastErrorText, for other modes.
DecoderFactory g722Decoder(int bits, BitOrder order = BitOrder::little, int channels = 1);
std::unique_ptr<BlockEncoder> g722Encoder(int bits, BitOrder order = BitOrder::little, int channels = 1);

}  // namespace tervo
