#include "formats/codec/gsm0610_encoder.h"

#include <algorithm>

#include "formats/codec/gsm0610_arithmetic.h"
#include "formats/codec/gsm0610_lpc.h"

namespace tervo::gsm {
namespace {

using Samples40 = std::array<int16_t, subframeSamples>;

// clang-format off
constexpr std::array<int16_t, 3> gainDecisions = {6554, 16384, 26214};  // DLB, table 5.3a; the fourth is never reached
constexpr std::array<int16_t, 8> reciprocals = {29128, 26215, 23832, 21846, 20165, 18725, 17476, 16384};  // NRFAC
constexpr std::array<int16_t, 11> weights = {-134, -374, 0, 2054, 5741, 8192, 5741, 2054, 0, -374, -134};  // H
// clang-format on

struct LongTerm {
  std::size_t lag;
  uint8_t gain;
};

/// The residual of the last 120 samples, `age` samples before sample k of this subframe (1 is the newest for k = 0).
int past(std::span<const int16_t, 120> history, std::size_t k, std::size_t age) {
  return history[120 + k - age];
}

/// Section 5.2.11, second half: how much of the past at that lag there is in this subframe.
uint8_t codedGain(int32_t correlation, int32_t power) {
  if (correlation <= 0) return 0;
  if (correlation >= power) return 3;
  const int shift = norm(power);
  const int r = static_cast<int16_t>((correlation << shift) >> 16);
  const int s = static_cast<int16_t>((power << shift) >> 16);
  const auto found =
      std::find_if(gainDecisions.begin(), gainDecisions.end(), [&](int level) { return r <= mult(s, level); });
  return static_cast<uint8_t>(found - gainDecisions.begin());
}

/// Section 5.2.11: the lag at which the past resembles this subframe most.
LongTerm findLongTerm(std::span<const int16_t, subframeSamples> residual, std::span<const int16_t, 120> history) {
  int16_t max = 0;
  for (const int16_t value : residual) max = std::max(max, absolute(value));
  const int scale = std::max(6 - (max == 0 ? 0 : norm(max * 65536)), 0);
  Samples40 scaled;
  std::transform(residual.begin(), residual.end(), scaled.begin(),
                 [&](int16_t value) { return shiftRight(value, scale); });

  LongTerm best{40, 0};
  int32_t bestSum = 0;
  for (std::size_t lag = 40; lag <= 120; ++lag) {
    int32_t sum = 0;
    for (std::size_t k = 0; k < scaled.size(); ++k) sum += scaled[k] * past(history, k, lag);
    if (sum > bestSum) {
      bestSum = sum;
      best.lag = lag;
    }
  }
  int32_t power = 0;
  for (std::size_t k = 0; k < scaled.size(); ++k) {
    const int value = past(history, k, best.lag) >> 3;
    power += value * value;
  }
  best.gain = codedGain(saturate32(int64_t{bestSum} * 2) >> (6 - scale), saturate32(int64_t{power} * 2));
  return best;
}

/// Section 5.2.13
Samples40 weighted(std::span<const int16_t, subframeSamples> error) {
  Samples40 out;
  for (std::size_t k = 0; k < out.size(); ++k) {
    int32_t sum = 4096;
    for (std::size_t i = 0; i < weights.size(); ++i) {
      const std::size_t at = k + i;
      if (at >= 5 && at < error.size() + 5) sum += error[at - 5] * weights[i];
    }
    out[k] = saturate(sum >> 13);
  }
  return out;
}

/// Section 5.2.14: which of the four regular grids has the most energy.
uint8_t strongestGrid(const Samples40& x) {
  uint8_t best = 0;
  int32_t bestEnergy = -1;
  for (uint8_t grid = 0; grid < 4; ++grid) {
    int32_t energy = 0;
    for (std::size_t i = 0; i < 13; ++i) {
      const int value = x[grid + 3 * i] >> 2;
      energy += value * value;
    }
    if (energy > bestEnergy) {
      bestEnergy = energy;
      best = grid;
    }
  }
  return best;
}

/// Section 5.2.15: the block maximum as a logarithm of 6 bits.
uint8_t codedBlockMaximum(int maximum) {
  int exponent = 0;
  for (int rest = maximum >> 9; rest > 0 && exponent < 6; rest >>= 1) ++exponent;
  return static_cast<uint8_t>(add(maximum >> (exponent + 5), exponent << 3));
}

void encodePulses(const Samples40& x, Subframe& out) {
  out.grid = strongestGrid(x);
  int16_t max = 0;
  for (std::size_t i = 0; i < out.pulses.size(); ++i) max = std::max(max, absolute(x[out.grid + 3 * i]));
  out.block = codedBlockMaximum(max);
  const BlockScale scale = blockScale(out.block);
  const int reciprocal = reciprocals[static_cast<std::size_t>(scale.mantissa)];
  for (std::size_t i = 0; i < out.pulses.size(); ++i) {
    const int normalised = shiftLeft(x[out.grid + 3 * i], 6 - scale.exponent);
    out.pulses[i] = static_cast<uint8_t>((mult(normalised, reciprocal) >> 12) + 4);
  }
}

}  // namespace

Frame Encoder::encode(std::span<const int16_t, frameSamples> samples) {
  std::array<int16_t, frameSamples> speech;
  preprocess(samples, speech);
  Frame frame;
  frame.lar = analyseLpc(speech);
  filter_.analyse(decodeLars(frame.lar), speech);
  for (std::size_t i = 0; i < frame.subframes.size(); ++i) {
    const auto part = std::span<const int16_t>(speech).subspan(i * subframeSamples).first<subframeSamples>();
    frame.subframes[i] = encodeSubframe(part);
  }
  return frame;
}

// Sections 5.2.1 to 5.2.3: 13 bits, without the direct component, with the higher frequencies raised.
void Encoder::preprocess(std::span<const int16_t, frameSamples> in, std::span<int16_t, frameSamples> out) {
  for (std::size_t k = 0; k < in.size(); ++k) {
    const auto sample = static_cast<int16_t>((in[k] >> 3) * 4);
    const auto difference = static_cast<int16_t>(sample - offsetInput_);
    offsetInput_ = sample;
    const int high = offsetOutput_ >> 15;
    const int low = offsetOutput_ - high * 32768;
    const int32_t input = difference * 32768 + multR(low, 32735);
    offsetOutput_ = saturate32(int64_t{high} * 32735 + input);
    const auto offsetFree = static_cast<int16_t>(saturate32(int64_t{offsetOutput_} + 16384) >> 15);
    out[k] = add(offsetFree, multR(emphasis_, -28180));
    emphasis_ = offsetFree;
  }
}

// Sections 5.2.11 to 5.2.18
Subframe Encoder::encodeSubframe(std::span<const int16_t, subframeSamples> residual) {
  const LongTerm longTerm = findLongTerm(residual, history_);
  Subframe out;
  out.lag = static_cast<uint8_t>(longTerm.lag);
  out.gain = longTerm.gain;
  Samples40 predicted, error, pulses;
  for (std::size_t k = 0; k < subframeSamples; ++k) {
    predicted[k] = multR(gainLevels[out.gain], past(history_, k, longTerm.lag));
    error[k] = sub(residual[k], predicted[k]);
  }
  encodePulses(weighted(error), out);

  decodePulses(out, pulses);
  std::copy(history_.begin() + subframeSamples, history_.end(), history_.begin());
  for (std::size_t k = 0; k < subframeSamples; ++k)
    history_[maxLag - subframeSamples + k] = add(pulses[k], predicted[k]);
  return out;
}

}  // namespace tervo::gsm
