#include "formats/codec/yamaha_adpcm.h"

#include <cstdlib>

#include "base/last_error.h"
#include "formats/codec/nibble_codec.h"

namespace tervo {
namespace {

constexpr int smallestStep = 127;
constexpr int largestStep = 24576;
constexpr TextView tooManyChannels = u"> 2ch Yamaha ADPCM not supported";

// The step's factor in 1/256, by magnitude.
constexpr std::array<int, 8> stepFactors = {230, 230, 230, 230, 307, 409, 512, 614};

struct YamahaState {
  int sample = 0;
  int step = smallestStep;

  int decode(unsigned code) {
    const unsigned magnitude = code & 7;
    const int difference = (static_cast<int>(magnitude) * 2 + 1) * step / 8;
    sample = clampToPcm16(code & 8 ? sample - difference : sample + difference);
    step = std::clamp(step * stepFactors[magnitude] >> 8, smallestStep, largestStep);
    return sample;
  }

  unsigned encode(int pcm16) {
    const int difference = pcm16 - sample;
    const int magnitude = std::min(std::abs(difference) * 4 / step, 7);
    const auto code = static_cast<unsigned>(magnitude) | (difference < 0 ? 8u : 0u);
    decode(code);
    return code;
  }
};

}  // namespace

DecoderFactory yamahaAdpcmDecoder(int channels) {
  if (channels < 1 || channels > 2) {
    setLastErrorText(tooManyChannels);
    return nullptr;
  }
  return [channels] { return std::make_unique<NibbleDecoder<YamahaState, NibbleOrder::lowFirst>>(channels); };
}

std::unique_ptr<BlockEncoder> makeYamahaAdpcmEncoder(int channels) {
  if (channels < 1 || channels > 2) return fail(tooManyChannels);
  return std::make_unique<NibbleEncoder<YamahaState, NibbleOrder::lowFirst>>(channels);
}

}  // namespace tervo
