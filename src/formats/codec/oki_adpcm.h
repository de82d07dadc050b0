#pragma once
// Dialogic (OKI) ADPCM: mono, 12-bit samples as 4-bit codes, high nibble first. Dialogic application note 00-1366-001,
// "Dialogic ADPCM Algorithm". The 12 bits stand at the top of 16.

#include "formats/codec/block_codec.h"

namespace tervo {

DecoderFactory okiAdpcmDecoder();
std::unique_ptr<BlockEncoder> makeOkiAdpcmEncoder();

}  // namespace tervo
