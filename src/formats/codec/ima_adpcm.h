#pragma once
// IMA (Intel DVI) ADPCM in the block layout of RIFF-WAVE, format tag 0x0011: Microsoft Multimedia Standards Update,
// "DVI ADPCM Wave Type". A block begins, for each channel, with a first sample and a step index, so that blocks stand
// alone; then codes follow in 32-bit words, a word of each channel in turn, low bits first. The update leaves open how
// 2 bits are coded and how 3 bits stand in stereo, where 32 codes span three words; both are read as Cool Edit wrote
// them (FFmpeg ticket 625), the only program known to have written such files.

#include "formats/codec/block_codec.h"

namespace tervo {

struct ImaAdpcmLayout {
  int bitsPerSample = 4;    ///< 2, 3 or 4
  int channels = 1;         ///< 1 or 2
  int blockAlign = 0;       ///< bytes of a block, all channels
  int samplesPerBlock = 0;  ///< frames; 0: as many as the block holds
};

/// The layout that a writer takes: blocks of 256 bytes a channel below 12 kHz, doubled with each octave up to 2048.
ImaAdpcmLayout imaAdpcmLayoutFor(int bitsPerSample, int channels, double sampleRate);

/// Frames that a block can hold; 0 for an impossible layout.
int imaAdpcmBlockCapacity(const ImaAdpcmLayout& layout);

/// An empty function with LastErrorText ("Unsupported or invalid IMA ADPCM file") for an impossible layout.
DecoderFactory imaAdpcmDecoder(const ImaAdpcmLayout& layout);

/// Null with the same text. Writes whole blocks; the last one is completed by repeating its last frame.
std::unique_ptr<BlockEncoder> makeImaAdpcmEncoder(const ImaAdpcmLayout& layout);

/// The arithmetic of one channel, for containers with a block layout of their own.
struct ImaAdpcmState {
  int predictor = 0;  ///< the last sample, 16 bits
  int stepIndex = 0;  ///< 0..88

  /// The sample of a code of `bits` bits (2..4).
  int decode(uint8_t code, int bits);
  /// The code that comes nearest to a sample; follows the decoder.
  uint8_t encode(int sample, int bits);
};

}  // namespace tervo
