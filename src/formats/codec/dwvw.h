#pragma once
// Delta words of variable width, the lossless coding of the TX16W's "Typhoon" system by Magnus Lidström, as libsndfile
// and the public account of it (R011SNDFMTS.TXT) have it. A sample is the difference to the one before it:
//
//   how much the width of the difference changes: as many zeros, a one (left out after the most, half the sample's
//   bits), and, unless there was no zero, a sign; widths count round
//   the difference, unless its width is 0: its bits below the highest, then its sign, and one bit more where it is the
//   largest that its bits can say

#include "formats/codec/block_codec.h"

namespace tervo {

/// Samples of 8 to 24 bits, one channel. An empty function with LastErrorText for anything else.
DecoderFactory dwvwDecoder(int bits, int channels);

}  // namespace tervo
