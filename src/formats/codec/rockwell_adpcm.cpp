#include "formats/codec/rockwell_adpcm.h"

#include <array>
#include <cstdlib>

#include "base/last_error.h"
#include "formats/codec/code_words.h"

namespace tervo {
namespace {

constexpr TextView name = u"Rockwell ADPCM";
constexpr TextView invalid = u"Unsupported or invalid Rockwell ADPCM file";

// Fractions of 32768.
constexpr int leak = 32113;          // 0.98, of a predictor coefficient with each sample
constexpr int poleAdaptation = 393;  // 0.012
constexpr int zeroAdaptation = 197;  // 0.006
constexpr int emphasis = 0x3333;     // 0.4
constexpr int smallestStep = 0x1F;   // 2.87 mV

struct Quantizer {
  int largestStep;                     // 2.01 V, 1.41 V, 1.11 V
  std::array<int16_t, 16> stepFactor;  // by code, in 1/8192
  std::array<int16_t, 16> level;       // by code: the step's multiple that the code stands for, in 1/8192
  std::array<int16_t, 7> threshold;    // between the levels of one sign, rising
  std::size_t thresholds;
};

// -0x33D7 and 0x33C7 are not a slip of ours: Rockwell's table has them so.
// clang-format off
constexpr std::array<Quantizer, 3> quantizers = {{
  {0x54C4,
   {0x3333, 0x199A, 0x199A, 0x3333},
   {-0x3052, -0x0E7D, 0x0E7D, 0x3052},
   {0x1F69}, 1},
  {0x3B7A,
   {0x3800, 0x2800, 0x1CCD, 0x1CCD, 0x1CCD, 0x1CCD, 0x2800, 0x3800},
   {-0x44DD, -0x2B02, -0x1831, -0x07D8, 0x07D8, 0x1831, 0x2B02, 0x44DD},
   {0x1005, 0x219A, 0x37F0}, 3},
  {0x2ED5,
   {0x4CCD, 0x4000, 0x3333, 0x2666, 0x1CCD, 0x1CCD, 0x1CCD, 0x1CCD,
    0x1CCD, 0x1CCD, 0x1CCD, 0x1CCD, 0x2666, 0x3333, 0x4000, 0x4CCD},
   {-0x5775, -0x4235, -0x33D7, -0x2831, -0x1E28, -0x1505, -0x0C6B, -0x041C,
     0x041C,  0x0C6B,  0x1505,  0x1E28,  0x2831,  0x33C7,  0x4235,  0x5775},
   {0x0843, 0x10B8, 0x1996, 0x232B, 0x2DFC, 0x3B02, 0x4CD6}, 7},
}};
// clang-format on

// A product of two fractions, as a 32-bit fraction. -1 times -1 is -1 on that processor.
constexpr int32_t product(int a, int b) {
  return static_cast<int32_t>(static_cast<uint32_t>(a * b) << 1);
}
constexpr int clip16(int value) {
  return std::clamp(value, -32768, 32767);
}
constexpr int64_t clip32(int64_t value) {
  return std::clamp<int64_t>(value, INT32_MIN, INT32_MAX);
}
constexpr int upperHalf(int64_t value) {
  return static_cast<int16_t>(value >> 16);
}
constexpr int rounded(int32_t value) {
  return static_cast<int16_t>((int64_t{value} + 0x8000) >> 16);
}
// The step and what is multiplied with it are held at a quarter of their size.
constexpr int timesStep(int factor, int step) {
  return clip16(rounded(product(factor, step)) * 4);
}

// What coder and decoder share: the adaptive step and the predictor with two poles and six zeros.
class RockwellChannel {
 public:
  explicit RockwellChannel(int bits) : quantizer_(&quantizers[static_cast<std::size_t>(bits - 2)]) {}

  static constexpr std::size_t framesPerWord = 1;

  std::array<int16_t, 1> decode(uint8_t code) {
    const int difference = timesStep(quantizer_->level[code], step_);
    adaptStep(code);
    const int64_t sum = predict(difference);
    const int sample = upperHalf(sum);
    deEmphasized_ = upperHalf(clip32(sum + product(emphasis, deEmphasized_)));
    adaptPredictor(difference, sample);
    return {static_cast<int16_t>(deEmphasized_)};
  }

  uint8_t encode(std::array<int16_t, 1> pcm16) {
    const int sample = pcm16[0];
    const int64_t sum = predict(0);
    const int expected = upperHalf(clip32(sum + product(emphasis, lastInput_)));
    lastInput_ = sample;
    const uint8_t code = nearestCode(clip16(sample - expected));
    const int difference = timesStep(quantizer_->level[code], step_);
    adaptStep(code);
    adaptPredictor(difference, clip16(upperHalf(sum) + difference));
    return code;
  }

 private:
  int64_t predict(int difference) const {
    int64_t sum = int64_t{difference} * 65536;
    for (std::size_t i = 0; i < history_.size(); ++i) sum = clip32(sum + product(coefficients_[i], history_[i]));
    return sum;
  }

  uint8_t nearestCode(int difference) const {
    const auto count = quantizer_->thresholds;
    std::size_t level = 0;
    while (level < count && std::abs(difference) >= timesStep(quantizer_->threshold[level], step_)) ++level;
    return static_cast<uint8_t>(difference < 0 ? count - level : count + 1 + level);
  }

  void adaptStep(uint8_t code) {
    step_ = std::clamp(timesStep(quantizer_->stepFactor[code], step_), smallestStep, quantizer_->largestStep);
  }

  // Coefficients leak towards zero and move by the sign of each correlation; then both delay lines shift.
  void adaptPredictor(int difference, int sample) {
    for (std::size_t i = 0; i < history_.size(); ++i) {
      const int move = i < poles ? poleAdaptation : zeroAdaptation;
      const bool opposed = rounded(product(difference, history_[i])) < 0;
      coefficients_[i] = clip16(rounded(product(coefficients_[i], leak)) + (opposed ? -move : move));
    }
    std::shift_right(history_.begin(), history_.begin() + poles, 1);
    std::shift_right(history_.begin() + poles, history_.end(), 1);
    history_[0] = sample;
    history_[poles] = difference;
  }

  static constexpr std::size_t poles = 2;

  const Quantizer* quantizer_;
  std::array<int, 8> coefficients_{};
  std::array<int, 8> history_{};  // two samples, then six quantized differences, latest first
  int step_ = smallestStep;
  int deEmphasized_ = 0;  // decoder: its last output
  int lastInput_ = 0;     // encoder: its last input
};

}  // namespace

DecoderFactory rockwellAdpcmDecoder(int bitsPerSample) {
  if (bitsPerSample < 2 || bitsPerSample > 4) {
    setLastErrorText(invalid);
    return nullptr;
  }
  return [bitsPerSample] {
    return std::make_unique<CodeWordDecoder<RockwellChannel>>(RockwellChannel(bitsPerSample), name, bitsPerSample,
                                                              BitOrder::little, 1);
  };
}

std::unique_ptr<BlockEncoder> makeRockwellAdpcmEncoder(int bitsPerSample) {
  if (bitsPerSample < 2 || bitsPerSample > 4) return fail(invalid);
  return std::make_unique<CodeWordEncoder<RockwellChannel>>(RockwellChannel(bitsPerSample), name, bitsPerSample,
                                                            BitOrder::little, 1);
}

}  // namespace tervo
