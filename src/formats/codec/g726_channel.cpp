#include "formats/codec/g726_channel.h"

#include <algorithm>
#include <bit>
#include <cstdlib>

namespace tervo::g726 {
namespace {

// clang-format off
// ITU-T G.726 (12/90), tables 5 to 12.
constexpr int16_t decision2[] = {261};
constexpr int16_t level2[]    = {116, 365};
constexpr int16_t scale2[]    = {-22, 439};
constexpr uint8_t speed2[]    = {0, 7};

constexpr int16_t decision3[] = {8, 218, 331};
constexpr int16_t level3[]    = {-2048, 135, 273, 373};
constexpr int16_t scale3[]    = {-4, 30, 137, 582};
constexpr uint8_t speed3[]    = {0, 1, 2, 7};

constexpr int16_t decision4[] = {-124, 80, 178, 246, 300, 349, 400};
constexpr int16_t level4[]    = {-2048, 4, 135, 213, 273, 323, 373, 425};
constexpr int16_t scale4[]    = {-12, 18, 41, 64, 112, 198, 355, 1122};
constexpr uint8_t speed4[]    = {0, 0, 0, 1, 1, 1, 3, 7};

constexpr int16_t decision5[] = {-122, -16, 68, 139, 198, 250, 298, 339, 378, 413, 445, 475, 502, 528, 553};
constexpr int16_t level5[]    = {-2048, -66, 28, 104, 169, 224, 274, 318, 358, 395, 429, 459, 488, 514, 539, 566};
constexpr int16_t scale5[]    = {14, 14, 24, 39, 40, 41, 58, 100, 141, 179, 219, 280, 358, 440, 529, 696};
constexpr uint8_t speed5[]    = {0, 0, 0, 0, 0, 1, 1, 1, 1, 1, 2, 3, 4, 5, 6, 6};

constexpr Rate rates[] = {
  {2, decision2, level2, scale2, speed2, 8, true },
  {3, decision3, level3, scale3, speed3, 8, false},
  {4, decision4, level4, scale4, speed4, 8, false},
  {5, decision5, level5, scale5, speed5, 9, false},
};
// clang-format on

int bitWidth(int value) {
  return static_cast<int>(std::bit_width(static_cast<unsigned>(value)));
}
// The Recommendation's signals are 16-bit words that wrap.
int wrap16(int value) {
  return static_cast<int16_t>(static_cast<uint16_t>(value));
}

}  // namespace

const Rate* rateOf(int bits) {
  const auto* found =
      std::find_if(std::begin(rates), std::end(rates), [&](const Rate& rate) { return rate.bits == bits; });
  return found == std::end(rates) ? nullptr : found;
}

std::array<int16_t, 1> Channel::decode(uint8_t code) {
  const Estimate estimate = predict();
  const int y = quantizerScale();
  const Difference dq = reconstruct(code, y);
  update(code, y, estimate, dq);
  // LIMO: the output is a 14-bit number.
  return {static_cast<int16_t>(std::clamp(wrap16(estimate.signal + dq.value()), -8192, 8191) * 4)};
}

uint8_t Channel::encode(std::array<int16_t, 1> sample) {
  const Estimate estimate = predict();
  const int y = quantizerScale();
  const uint8_t code = quantize(wrap16((sample[0] >> 2) - estimate.signal), y);
  update(code, y, estimate, reconstruct(code, y));
  return code;
}

Channel::Float Channel::toFloat(bool negative, int magnitude) {
  if (magnitude == 0) return {negative, 0, 32};
  const int exponent = bitWidth(magnitude);
  return {negative, static_cast<uint8_t>(exponent), static_cast<uint8_t>((magnitude << 6) >> exponent)};
}

// FMULT: a 14-bit coefficient times a Float, with a 6-bit mantissa on both sides.
int Channel::multiply(int coefficient, Float factor) {
  const int an = coefficient >> 2;
  const Float a = toFloat(an < 0, an < 0 ? -an & 0x1FFF : an);
  const int exponent = a.exponent + factor.exponent;
  const int mantissa = (a.mantissa * factor.mantissa + 48) >> 4;
  const int magnitude =
      exponent <= 26 ? (mantissa << 7) >> (26 - exponent) : (mantissa << 7 << (exponent - 26)) & 0x7FFF;
  return a.negative != factor.negative ? -magnitude : magnitude;
}

// ACCUM
Channel::Estimate Channel::predict() const {
  int sezi = 0;
  for (std::size_t i = 0; i < b_.size(); ++i) sezi += multiply(b_[i], dq_[i]);
  const int sei = sezi + multiply(a2_, sr_[1]) + multiply(a1_, sr_[0]);
  return {wrap16(sezi) >> 1, wrap16(sei) >> 1};
}

// LIMA, MIX: between the locked and the unlocked factor, as the speed says.
int Channel::quantizerScale() const {
  const int al = std::min(ap_ >> 2, 64);
  const int locked = yl_ >> 6;
  const int difference = yu_ - locked;
  const int share = (std::abs(difference) * al) >> 6;
  return difference < 0 ? locked - share : locked + share;
}

// LOG, SUBTB, QUAN
uint8_t Channel::quantize(int difference, int y) const {
  const int magnitude = std::abs(difference) & 0x7FFF;
  const int exponent = std::max(bitWidth(magnitude) - 1, 0);
  const int logarithm = (exponent << 7) + (((magnitude << 7) >> exponent) & 127);
  const int normalised = logarithm - (y >> 2);
  const auto above = std::upper_bound(rate_->decision.begin(), rate_->decision.end(), normalised);
  const auto index = static_cast<uint8_t>(above - rate_->decision.begin());
  const bool inverted = difference < 0 || (index == 0 && !rate_->positiveZero);
  return inverted ? static_cast<uint8_t>((1 << rate_->bits) - 1 - index) : index;
}

int Channel::magnitudeOf(uint8_t code) const {
  const int signBit = 1 << (rate_->bits - 1);
  return code & signBit ? 2 * signBit - 1 - code : code;
}

// RECONST, ADDA, ANTILOG
Channel::Difference Channel::reconstruct(uint8_t code, int y) const {
  const bool negative = (code >> (rate_->bits - 1)) != 0;
  const int logarithm = rate_->level[static_cast<std::size_t>(magnitudeOf(code))] + (y >> 2);
  if (logarithm < 0) return {0, negative};
  const int exponent = (logarithm >> 7) & 15;
  return {((128 + (logarithm & 127)) << 7) >> (14 - std::min(exponent, 14)), negative};
}

void Channel::update(uint8_t code, int y, Estimate estimate, Difference dq) {
  const int index = magnitudeOf(code);
  const int sr = wrap16(estimate.signal + dq.value());      // ADDB
  const int partial = wrap16(estimate.zeros + dq.value());  // ADDC
  const bool atTransition = transition(dq.magnitude);

  if (atTransition) {  // TRIGB
    a1_ = a2_ = 0;
    b_ = {};
    tone_ = false;
  } else {
    adaptZeros(dq);
    adaptPoles(partial);
    tone_ = a2_ < -11776;  // TONE
  }
  adaptSpeed(index, y, atTransition);
  adaptScale(index, y);

  std::copy_backward(dq_.begin(), dq_.end() - 1, dq_.end());
  dq_[0] = toFloat(dq.negative, dq.magnitude);
  sr_[1] = sr_[0];
  sr_[0] = toFloat(sr < 0, sr < 0 ? -sr & 0x7FFF : sr);
  pk2_ = pk1_;
  pk1_ = partial < 0;
}

// TRANS: a partial-band signal (a modem's) that suddenly changes.
bool Channel::transition(int magnitude) const {
  if (!tone_) return false;
  const int ylint = yl_ >> 15;
  const int threshold = ylint > 9 ? 31 << 10 : (32 + ((yl_ >> 10) & 31)) << ylint;
  return magnitude > (threshold + (threshold >> 1)) >> 1;
}

// FUNCTW, FILTD, LIMB, FILTE
void Channel::adaptScale(int magnitudeIndex, int y) {
  const int wi = rate_->scale[static_cast<std::size_t>(magnitudeIndex)];
  yu_ = std::clamp(y + (((wi * 32) - y) >> 5), 544, 5120);
  yl_ += yu_ + ((-yl_) >> 6);
}

// FUNCTF, FILTA, FILTB, SUBTC, FILTC, TRIGA
void Channel::adaptSpeed(int magnitudeIndex, int y, bool transition) {
  const int fi = rate_->speed[static_cast<std::size_t>(magnitudeIndex)];
  dms_ += ((fi << 9) - dms_) >> 5;
  dml_ += ((fi << 11) - dml_) >> 7;
  const bool fast = y < 1536 || tone_ || std::abs((dms_ << 2) - dml_) >= dml_ >> 3;
  ap_ = transition ? 256 : ap_ + (((fast ? 512 : 0) - ap_) >> 4);
}

// XOR, UPB
void Channel::adaptZeros(Difference dq) {
  for (std::size_t i = 0; i < b_.size(); ++i) {
    const int gain = dq.magnitude == 0 ? 0 : dq.negative == dq_[i].negative ? 128 : -128;
    b_[i] = wrap16(b_[i] + gain - (b_[i] >> rate_->zeroLeak));
  }
}

// UPA2, LIMC, UPA1, LIMD
void Channel::adaptPoles(int partial) {
  const bool pk0 = partial < 0;
  int gain2 = 0, gain1 = 0;
  if (partial != 0) {
    const int fa1 = std::clamp(a1_, -8191, 8191) * 4;
    gain2 = ((pk0 == pk2_ ? 16384 : -16384) + (pk0 == pk1_ ? -fa1 : fa1)) >> 7;
    gain1 = pk0 == pk1_ ? 192 : -192;
  }
  a2_ = std::clamp(a2_ + gain2 - (a2_ >> 7), -12288, 12288);
  a1_ = std::clamp(a1_ + gain1 - (a1_ >> 8), a2_ - 15360, 15360 - a2_);
}

}  // namespace tervo::g726
