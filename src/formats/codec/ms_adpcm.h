#pragma once
// Microsoft ADPCM, format tag 0x0002: Microsoft Multimedia Standards Update, "Microsoft ADPCM". Two-tap prediction with
// one of a few coefficient pairs for each block and channel, 4-bit codes, high nibble first. Blocks stand alone.

#include <optional>

#include "formats/codec/block_codec.h"

namespace tervo {

/// Prediction = (first × last sample + second × the one before) / 256.
struct MsAdpcmCoefficients {
  int16_t first;
  int16_t second;
};

/// The seven pairs that every encoder's file begins its table with.
std::span<const MsAdpcmCoefficients> standardMsAdpcmCoefficients();

struct MsAdpcmLayout {
  int channels = 1;         ///< 1 or 2
  int blockAlign = 0;       ///< bytes of a block, all channels
  int samplesPerBlock = 0;  ///< frames; 0: as many as the block holds
  std::vector<MsAdpcmCoefficients> coefficients;
};

/// Layout from the "fmt " chunk: `extension` is what follows cbSize (samples per block, count, coefficient pairs). One
/// that is too short for a count means the standard pairs. Nothing with LastErrorText ("Unsupported or invalid MS ADPCM
/// file") when the count is 0 or more than the bytes hold.
std::optional<MsAdpcmLayout> msAdpcmLayout(int channels, int blockAlign, std::span<const std::byte> extension);

/// The layout that a writer takes, with the standard pairs: blocks of 256 bytes a channel below 12 kHz, doubled with
/// each octave up to 2048.
MsAdpcmLayout msAdpcmLayoutFor(int channels, double sampleRate);

/// Frames that a block can hold; 0 for an impossible layout.
int msAdpcmBlockCapacity(const MsAdpcmLayout& layout);

/// An empty function with LastErrorText for an impossible layout. A block that names a pair which the table does not
/// have is decoded with the first.
DecoderFactory msAdpcmDecoder(const MsAdpcmLayout& layout);

/// Null with the same text. Writes whole blocks; the last one is completed by repeating its last frame.
std::unique_ptr<BlockEncoder> makeMsAdpcmEncoder(const MsAdpcmLayout& layout);

}  // namespace tervo
