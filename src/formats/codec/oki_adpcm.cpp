#include "formats/codec/oki_adpcm.h"

#include <cstdlib>

#include "formats/codec/code_words.h"

namespace tervo {
namespace {

constexpr TextView name = u"Dialogic ADPCM";

// clang-format off
constexpr std::array<int16_t, 49> stepSizes = {
   16,   17,   19,   21,   23,   25,   28,   31,   34,   37,   41,   45,   50,   55,   60,   66,   73,
   80,   88,   97,  107,  118,  130,  143,  157,  173,  190,  209,  230,  253,  279,  307,  337,  371,
  408,  449,  494,  544,  598,  658,  724,  796,  876,  963, 1060, 1166, 1282, 1411, 1552};
// clang-format on
constexpr int lastStep = static_cast<int>(stepSizes.size()) - 1;
constexpr std::array<int8_t, 8> indexSteps = {-1, -1, -1, -1, 2, 4, 6, 8};

struct OkiChannel {
  static constexpr std::size_t framesPerWord = 1;

  int sample = 0;  // 12 bits
  int stepIndex = 0;

  std::array<int16_t, 1> decode(uint8_t code) {
    // The note's four terms add up to (magnitude + 1/2) × step / 4; only their sum is cut to whole numbers.
    const int magnitude = code & 7;
    const int difference = (magnitude * 2 + 1) * step() >> 3;
    sample = std::clamp(code & 8 ? sample - difference : sample + difference, -2048, 2047);
    stepIndex = std::clamp(stepIndex + indexSteps[static_cast<std::size_t>(magnitude)], 0, lastStep);
    return {static_cast<int16_t>(sample * 16)};
  }

  uint8_t encode(std::array<int16_t, 1> pcm16) {
    const int difference = std::min((pcm16[0] + 8) >> 4, 2047) - sample;
    const int magnitude = std::min(std::abs(difference) * 4 / step(), 7);
    const auto code = static_cast<uint8_t>(difference < 0 ? magnitude | 8 : magnitude);
    decode(code);
    return code;
  }

 private:
  int step() const { return stepSizes[static_cast<std::size_t>(stepIndex)]; }
};

}  // namespace

DecoderFactory okiAdpcmDecoder() {
  return [] { return std::make_unique<CodeWordDecoder<OkiChannel>>(OkiChannel(), name, 4, BitOrder::big, 1); };
}

std::unique_ptr<BlockEncoder> makeOkiAdpcmEncoder() {
  return std::make_unique<CodeWordEncoder<OkiChannel>>(OkiChannel(), name, 4, BitOrder::big, 1);
}

}  // namespace tervo
