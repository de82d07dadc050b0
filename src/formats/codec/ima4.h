#pragma once
// IMA ADPCM in the packets of AIFF-C and QuickTime ("ima4"): Apple Technical Note TN1081. A packet of one channel has
// 34 bytes: two with the upper 9 bits of the sample before it and 7 bits of step index, then 64 codes, low bits first.
// The packets of stereo alternate. Each stands alone, as TN1081 and libsndfile have it; QuickTime itself goes on from
// the full sample of the packet before where that agrees with the 9 bits.

#include "formats/codec/block_codec.h"

namespace tervo {

inline constexpr std::size_t ima4PacketBytes = 34;  ///< of one channel
inline constexpr std::size_t ima4PacketFrames = 64;

DecoderFactory ima4Decoder(int channels);

}  // namespace tervo
