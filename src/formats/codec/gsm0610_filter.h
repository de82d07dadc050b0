#pragma once
// What coder and decoder of GSM 06.10 have in common: the short-term lattice filters with their interpolated
// coefficients, and the quantizer of the regular pulses.

#include <array>
#include <cstdint>
#include <span>

#include "formats/codec/gsm0610_frame.h"

namespace tervo::gsm {

using Coefficients = std::array<int16_t, 8>;

/// EN 300 961, table 5.1: the linear quantizer of each log-area ratio, and its bounds.
struct LarQuantizer {
  int16_t a, b, lowest, highest, inverseA;
};
extern const std::array<LarQuantizer, 8> larQuantizers;

/// Section 5.2.8: log-area ratios from their codes.
Coefficients decodeLars(const std::array<uint8_t, 8>& codes);

/// Sections 5.2.9 to 5.2.11 and 5.3.3: passes a frame's samples through a lattice filter in four stretches, in which
/// the coefficients move from the last frame's to this one's.
class ShortTermFilter {
 public:
  /// Speech to its residual, in place.
  void analyse(const Coefficients& lars, std::span<int16_t, frameSamples> samples);
  /// Residual to speech, in place.
  void synthesise(const Coefficients& lars, std::span<int16_t, frameSamples> samples);

 private:
  template <typename Filter>
  void interpolated(const Coefficients& lars, Filter filter);

  Coefficients before_{};
  std::array<int16_t, 9> state_{};
};

/// Section 5.2.15: exponent and mantissa of a coded block maximum.
struct BlockScale {
  int exponent;
  int mantissa;
};
BlockScale blockScale(int code);

/// Section 5.2.16 and 5.2.17: the 40 samples of pulses, on their grid.
void decodePulses(const Subframe& subframe, std::span<int16_t, subframeSamples> out);

inline constexpr std::array<int16_t, 4> gainLevels = {3277, 11469, 21299, 32767};  ///< QLB, table 5.3b

}  // namespace tervo::gsm
