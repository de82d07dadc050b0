#pragma once
// Rockwell voice modem ADPCM: mono, 2, 3 or 4 bits a sample, usually at 7200 Hz, codes packed from the low end of each
// byte. After Rockwell's published voice coder ("ADPCM reference source", d.asm), whose arithmetic is 16-bit fractions
// with every product rounded and every sum clipped; the constants and the order of the operations are as mgetty's
// voice tools document them. The marker words with which a modem may shorten silence are not expanded: they are valid
// codes too, so a recording without silence deletion would be cut at random places.

#include "formats/codec/block_codec.h"

namespace tervo {

/// Bits 2, 3 or 4; else an empty function with LastErrorText ("Unsupported or invalid Rockwell ADPCM file").
DecoderFactory rockwellAdpcmDecoder(int bitsPerSample);
/// Null with the same text.
std::unique_ptr<BlockEncoder> makeRockwellAdpcmEncoder(int bitsPerSample);

}  // namespace tervo
