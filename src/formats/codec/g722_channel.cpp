#include "formats/codec/g722_channel.h"

#include <algorithm>

namespace tervo::g722 {
namespace {

// clang-format off
// ITU-T G.722 (11/88), tables 14 to 22. Coefficients of the mirror filters, every second one; the others are the same
// in reverse.
constexpr int filter[12] = {3, -11, 12, 32, -210, 951, 3876, -805, 362, -156, 53, -11};

// Q6: decision levels of the lower band's 60-level quantizer; magnitude 1 begins at 0.
constexpr int decisions6[] = {
  35, 72, 110, 150, 190, 233, 276, 323, 370, 422, 473, 530, 587, 650, 714, 786, 858, 940, 1023, 1121, 1219, 1339,
  1458, 1612, 1765, 1980, 2195, 2557, 2919};
// QM4, QM5, QM6: quantizer outputs by code word.
constexpr int levels4[16] = {
  0, -20456, -12896, -8968, -6288, -4240, -2584, -1200, 20456, 12896, 8968, 6288, 4240, 2584, 1200, 0};
constexpr int levels5[32] = {
  -280, -280, -23352, -17560, -14120, -11664, -9752, -8184, -6864, -5712, -4696, -3784, -2960, -2208, -1520, -880,
  23352, 17560, 14120, 11664, 9752, 8184, 6864, 5712, 4696, 3784, 2960, 2208, 1520, 880, 280, -280};
constexpr int levels6[64] = {
  -136, -136, -136, -136, -24808, -21904, -19008, -16704, -14984, -13512, -12280, -11192, -10232, -9360, -8576, -7856,
  -7192, -6576, -6000, -5456, -4944, -4464, -4008, -3576, -3168, -2776, -2400, -2032, -1688, -1360, -1040, -728,
  24808, 21904, 19008, 16704, 14984, 13512, 12280, 11192, 10232, 9360, 8576, 7856, 7192, 6576, 6000, 5456,
  4944, 4464, 4008, 3576, 3168, 2776, 2400, 2032, 1688, 1360, 1040, 728, 432, 136, -432, -136};
constexpr int levels2[4] = {-7408, -1616, 7408, 1616};  // QM2, higher band
constexpr int higherDecision = 564;                     // Q2

// WL by RL42 of the 4-bit code, WH by RH2 of the 2-bit code.
constexpr int lowerSteps[16] = {
  -60, 3042, 1198, 538, 334, 172, 58, -30, 3042, 1198, 538, 334, 172, 58, -30, -60};
constexpr int higherSteps[4] = {798, -214, 798, -214};
// ILB: 2048 times powers of 2 in 32nds.
constexpr int powers[32] = {
  2048, 2093, 2139, 2186, 2233, 2282, 2332, 2383, 2435, 2489, 2543, 2599, 2656, 2714, 2774, 2834,
  2896, 2960, 3025, 3091, 3158, 3228, 3298, 3371, 3444, 3520, 3597, 3676, 3756, 3838, 3922, 4008};
// clang-format on

int saturate(int value) {
  return std::clamp(value, -32768, 32767);
}
int limit15(int value) {
  return std::clamp(value, -16384, 16383);
}
/// Product of two numbers in Q15.
int scaled(int a, int b) {
  return (a * b) >> 15;
}

int filtered(const History& history, bool reversed) {
  const auto values = history.newestFirst();
  int sum = 0;
  for (std::size_t i = 0; i < values.size(); ++i) sum += values[i] * filter[reversed ? values.size() - 1 - i : i];
  return sum;
}

/// QUANTL: the 6-bit code word of a difference.
int quantizeLower(int difference, int scale) {
  const int magnitude = difference < 0 ? -(difference + 1) : difference;
  const auto* above = std::find_if(std::begin(decisions6), std::end(decisions6),
                                   [&](int decision) { return magnitude < (decision * scale) >> 12; });
  const int index = static_cast<int>(above - decisions6);
  if (difference >= 0) return 61 - index;
  return index < 2 ? 63 - index : 33 - index;
}

/// QUANTH: the 2-bit code word of a difference.
int quantizeHigher(int difference, int scale) {
  const int magnitude = difference < 0 ? -(difference + 1) : difference;
  const bool large = magnitude >= (higherDecision * scale) >> 12;
  return difference < 0 ? (large ? 0 : 1) : (large ? 2 : 3);
}

/// UPPOL2 and UPPOL1, the second pole first.
std::array<int, 2> adaptedPoles(std::array<int, 2> poles, int partial, std::array<int, 2> before) {
  const bool sameAsLast = (partial < 0) == (before[0] < 0);
  const bool sameAsSecond = (partial < 0) == (before[1] < 0);
  const int a1x4 = saturate(poles[0] * 4);
  const int cross = std::min(sameAsLast ? -a1x4 : a1x4, 32767) >> 7;
  const int second = std::clamp((sameAsSecond ? 128 : -128) + cross + scaled(poles[1], 32512), -12288, 12288);
  const int bound = 15360 - second;
  const int first = std::clamp((sameAsLast ? 192 : -192) + scaled(poles[0], 32640), -bound, bound);
  return {first, second};
}

}  // namespace

void Band::adaptPredictor(int difference) {
  const int reconstructed = saturate(estimate_ + difference);  // RECONS
  const int partial = saturate(zeroEstimate_ + difference);    // PARREC
  poles_ = adaptedPoles(poles_, partial, partial_);

  const int gain = difference == 0 ? 0 : 128;  // UPZERO
  for (std::size_t i = 0; i < zeros_.size(); ++i) {
    const bool same = (difference < 0) == (differences_[i] < 0);
    zeros_[i] = saturate((same ? gain : -gain) + scaled(zeros_[i], 32640));
  }
  std::copy_backward(differences_.begin(), differences_.end() - 1, differences_.end());  // DELAYA
  differences_[0] = difference;
  reconstructed_ = {reconstructed, reconstructed_[0]};
  partial_ = {partial, partial_[0]};

  int zeros = 0;  // FILTEZ
  for (std::size_t i = 0; i < zeros_.size(); ++i) zeros += scaled(saturate(2 * differences_[i]), zeros_[i]);
  zeroEstimate_ = saturate(zeros);
  const int poles = saturate(scaled(saturate(2 * reconstructed_[0]), poles_[0]) +  // FILTEP
                             scaled(saturate(2 * reconstructed_[1]), poles_[1]));
  estimate_ = saturate(poles + zeroEstimate_);  // PREDIC
}

void Band::adaptScale(int step, int limit, int exponentBase) {
  logScale_ = std::clamp(((logScale_ * 127) >> 7) + step, 0, limit);
  const int power = powers[(logScale_ >> 6) & 31];
  const int shift = exponentBase - (logScale_ >> 11);
  scale_ = (shift < 0 ? power << -shift : power >> shift) << 2;
}

void Channel::adaptLower(int code4) {
  lower_.adaptPredictor(scaled(lower_.scale(), levels4[code4]));
  lower_.adaptScale(lowerSteps[code4], 18432, 8);
}

/// Returns the difference that the 2-bit code stands for.
int Channel::adaptHigher(int code2) {
  const int difference = scaled(higher_.scale(), levels2[code2]);
  higher_.adaptPredictor(difference);
  higher_.adaptScale(higherSteps[code2], 22528, 10);
  return difference;
}

std::array<int16_t, 2> Channel::decode(uint8_t code) {
  const int lowerBits = 6 - dropped_;
  const int lowerCode = code & ((1 << lowerBits) - 1);
  const int higherCode = (code >> lowerBits) & 3;

  const int level = dropped_ == 0 ? levels6[lowerCode] : dropped_ == 1 ? levels5[lowerCode] : levels4[lowerCode];
  const int low = limit15(lower_.estimate() + scaled(lower_.scale(), level));
  adaptLower(lowerCode >> (2 - dropped_));
  const int higherEstimate = higher_.estimate();
  const int high = limit15(higherEstimate + adaptHigher(higherCode));

  even_.push(low - high);
  odd_.push(low + high);
  return {static_cast<int16_t>(saturate(filtered(even_, false) >> 11)),
          static_cast<int16_t>(saturate(filtered(odd_, true) >> 11))};
}

uint8_t Channel::encode(std::array<int16_t, 2> samples) {
  even_.push(samples[1]);
  odd_.push(samples[0]);
  const int a = filtered(even_, false);
  const int b = filtered(odd_, true);
  const int low = (a + b) >> 14;
  const int high = (a - b) >> 14;

  const int lowerCode = quantizeLower(saturate(low - lower_.estimate()), lower_.scale());
  const int higherCode = quantizeHigher(saturate(high - higher_.estimate()), higher_.scale());
  adaptLower(lowerCode >> 2);
  adaptHigher(higherCode);
  return static_cast<uint8_t>(((higherCode << 6) | lowerCode) >> dropped_);
}

}  // namespace tervo::g722
