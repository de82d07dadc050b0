#pragma once
// Yamaha 4-bit ADPCM (Y8950, YM2608, AICA; RIFF-WAVE format tag 0x0020): 16-bit samples, low nibble first, with two
// channels the left one in the low nibble. Yamaha YM2608 OPNA application manual, section "ADPCM".

#include "formats/codec/block_codec.h"

namespace tervo {

/// One or two channels; else an empty function with LastErrorText ("> 2ch Yamaha ADPCM not supported").
DecoderFactory yamahaAdpcmDecoder(int channels);
/// Null with the same text.
std::unique_ptr<BlockEncoder> makeYamahaAdpcmEncoder(int channels);

}  // namespace tervo
