#pragma once
// The coder of GSM 06.10 (EN 300 961, section 5.2): 160 samples to one frame of parameters.

#include <array>
#include <cstdint>
#include <span>

#include "formats/codec/gsm0610_filter.h"

namespace tervo::gsm {

class Encoder {
 public:
  Frame encode(std::span<const int16_t, frameSamples> samples);

 private:
  static constexpr std::size_t maxLag = 120;

  void preprocess(std::span<const int16_t, frameSamples> in, std::span<int16_t, frameSamples> out);
  Subframe encodeSubframe(std::span<const int16_t, subframeSamples> residual);

  int16_t offsetInput_ = 0;   // z1
  int32_t offsetOutput_ = 0;  // L_z2
  int16_t emphasis_ = 0;      // mp
  ShortTermFilter filter_;
  std::array<int16_t, maxLag> history_{};  // dp, the reconstructed residual of the last 120 samples
};

}  // namespace tervo::gsm
