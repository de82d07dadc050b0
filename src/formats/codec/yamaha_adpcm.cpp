#include "formats/codec/yamaha_adpcm.h"

#include <cstdlib>

#include "base/last_error.h"
#include "formats/codec/code_words.h"

namespace tervo {
namespace {

constexpr TextView name = u"Yamaha ADPCM";
constexpr TextView tooManyChannels = u"> 2ch Yamaha ADPCM not supported";
constexpr int smallestStep = 127;
constexpr int largestStep = 24576;

// The step's factor in 1/256, by magnitude.
constexpr std::array<int, 8> stepFactors = {230, 230, 230, 230, 307, 409, 512, 614};

struct YamahaChannel {
  static constexpr std::size_t framesPerWord = 1;

  int sample = 0;
  int step = smallestStep;

  std::array<int16_t, 1> decode(uint8_t code) {
    const int magnitude = code & 7;
    const int difference = (magnitude * 2 + 1) * step / 8;
    sample = std::clamp(code & 8 ? sample - difference : sample + difference, -32768, 32767);
    step = std::clamp(step * stepFactors[static_cast<std::size_t>(magnitude)] >> 8, smallestStep, largestStep);
    return {static_cast<int16_t>(sample)};
  }

  uint8_t encode(std::array<int16_t, 1> pcm16) {
    const int difference = pcm16[0] - sample;
    const int magnitude = std::min(std::abs(difference) * 4 / step, 7);
    const auto code = static_cast<uint8_t>(difference < 0 ? magnitude | 8 : magnitude);
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
  return [channels] {
    return std::make_unique<CodeWordDecoder<YamahaChannel>>(YamahaChannel(), name, 4, BitOrder::little, channels);
  };
}

std::unique_ptr<BlockEncoder> makeYamahaAdpcmEncoder(int channels) {
  if (channels < 1 || channels > 2) return fail(tooManyChannels);
  return std::make_unique<CodeWordEncoder<YamahaChannel>>(YamahaChannel(), name, 4, BitOrder::little, channels);
}

}  // namespace tervo
