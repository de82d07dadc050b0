#include "formats/codec/oki_adpcm.h"

#include <cstdlib>

#include "formats/codec/nibble_codec.h"

namespace tervo {
namespace {

// clang-format off
constexpr std::array<int16_t, 49> stepSizes = {
   16,   17,   19,   21,   23,   25,   28,   31,   34,   37,   41,   45,   50,   55,   60,   66,   73,
   80,   88,   97,  107,  118,  130,  143,  157,  173,  190,  209,  230,  253,  279,  307,  337,  371,
  408,  449,  494,  544,  598,  658,  724,  796,  876,  963, 1060, 1166, 1282, 1411, 1552};
// clang-format on
constexpr std::array<int8_t, 8> indexSteps = {-1, -1, -1, -1, 2, 4, 6, 8};

struct OkiState {
  int sample = 0;  // 12 bits
  int stepIndex = 0;

  int decode(unsigned code) {
    // The note's four terms add up to (magnitude + 1/2) × step / 4; only their sum is cut to whole numbers.
    const unsigned magnitude = code & 7;
    const int difference = (static_cast<int>(magnitude) * 2 + 1) * step() >> 3;
    sample = std::clamp(code & 8 ? sample - difference : sample + difference, -2048, 2047);
    stepIndex = std::clamp(stepIndex + indexSteps[magnitude], 0, static_cast<int>(stepSizes.size()) - 1);
    return sample * 16;
  }

  unsigned encode(int pcm16) {
    const int difference = std::min((pcm16 + 8) >> 4, 2047) - sample;
    const int magnitude = std::min(std::abs(difference) * 4 / step(), 7);
    const auto code = static_cast<unsigned>(magnitude) | (difference < 0 ? 8u : 0u);
    decode(code);
    return code;
  }

 private:
  int step() const { return stepSizes[static_cast<std::size_t>(stepIndex)]; }
};

}  // namespace

DecoderFactory okiAdpcmDecoder() {
  return [] { return std::make_unique<NibbleDecoder<OkiState, NibbleOrder::highFirst>>(1); };
}

std::unique_ptr<BlockEncoder> makeOkiAdpcmEncoder() {
  return std::make_unique<NibbleEncoder<OkiState, NibbleOrder::highFirst>>(1);
}

}  // namespace tervo
