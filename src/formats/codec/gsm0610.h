#pragma once
// GSM 06.10 full rate (RPE-LTP, ETSI EN 300 961): 160 samples at 8000 Hz in 260 bits, computed with the standard's own
// fixed-point operations, so that decoders and coders that follow it agree bit for bit. One channel only.

#include "formats/codec/block_codec.h"

namespace tervo {

/// How the 260 bits of a frame lie in bytes.
enum class GsmPacking {
  frames33,    ///< 0xD in the first four bits, then the parameters most significant bit first (RFC 3551, section 4.5.8)
  wavPairs65,  ///< two frames, parameters least significant bit first, without a gap (RIFF-WAVE tag 49)
  modem38,     ///< frames33 between the marks FE FE and 00 A5 A5 of U.S. Robotics voice modems
  modem34,     ///< the same without the marks, but with the zero byte
};

struct GsmBlock {
  std::size_t bytes;
  std::size_t frames;  ///< samples
};
GsmBlock blockOf(GsmPacking packing);
/// How many samples that many bytes hold; half of a wavPairs65 block counts.
int64_t gsmFrames(GsmPacking packing, uint64_t bytes);
/// How many bytes that many samples take up, a whole number of frames.
uint64_t gsmBytes(GsmPacking packing, int64_t frames);

DecoderFactory gsmDecoder(GsmPacking packing);
std::unique_ptr<BlockEncoder> gsmEncoder(GsmPacking packing);

}  // namespace tervo
