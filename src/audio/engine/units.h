#pragma once
// Units of the engine and the conversions between them, in single precision. They are polynomials of their own, not
// calls of a mathematical library: the same song gives the same samples with every library and instruction set.

#include <cstdint>
#include <limits>

#include "audio/engine/block.h"

namespace tervo::audio {

inline constexpr float levelRangeDb = 96;             ///< level 0 is so far below level 1, and silent
inline constexpr float lnPerDb = 0.115129255f;        ///< ln(10) / 20
inline constexpr float lnPerHalfDb = 0.057564627f;    ///< ln(10) / 40: of a scale of 40 log10
inline constexpr float lnPerSemitone = 0.057762265f;  ///< ln(2) / 12
inline constexpr float keyZeroHertz = 8.175798f;
inline constexpr float middleC = 60;

/// e^x; x is held to -87..87.
float exponential(float x) noexcept;
/// Natural logarithm of a positive number.
float logarithm(float x) noexcept;
/// tan(x) for 0 <= x < pi / 2.
float tangent(float x) noexcept;
/// sin(2 pi phase) for phase in 0..1, the Taylor series up to the 11th power.
float sineOfTurn(float phase) noexcept;

inline float gainOfDb(float dB) noexcept {
  return exponential(dB * lnPerDb);
}
/// Level 0..1; a level of 0 or less is exactly 0.
inline float gainOfLevel(float level) noexcept {
  return level <= 0 ? 0.0f : gainOfDb((level - 1) * levelRangeDb);
}
/// The inverse, 0 for gains at or below the range.
float levelOfGain(float gain) noexcept;
inline float amplitudeOf40Log(float y) noexcept {
  return exponential(y * lnPerHalfDb);
}
inline float pitchRatio(float semitones) noexcept {
  return exponential(semitones * lnPerSemitone);
}
inline float hertzOfKey(float key) noexcept {
  return keyZeroHertz * exponential(key * lnPerSemitone);
}

/// Remembers what a function gave for its argument, which is often the same from block to block.
class LastResult {
 public:
  template <typename Function>
  float of(float argument, const Function& function) noexcept {
    if (!(argument == argument_)) result_ = function(argument_ = argument);
    return result_;
  }

 private:
  float argument_ = std::numeric_limits<float>::quiet_NaN();
  float result_ = 0;
};

/// Random numbers that are the same in every run.
class Random {
 public:
  explicit Random(uint32_t seed) noexcept : state_(seed * 2654435761u + 0x9E3779B9u) {
    if (state_ == 0) state_ = 1;
  }
  uint32_t next() noexcept {
    state_ ^= state_ << 13;
    state_ ^= state_ >> 17;
    state_ ^= state_ << 5;
    return state_;
  }
  /// -1..1
  float bipolar() noexcept { return static_cast<float>(static_cast<int32_t>(next())) * (1.0f / 2147483648.0f); }

 private:
  uint32_t state_;
};

}  // namespace tervo::audio
