#pragma once
// The decoder of GSM 06.10 (EN 300 961, section 5.3): one frame of parameters to 160 samples.

#include <array>
#include <cstdint>
#include <span>

#include "formats/codec/gsm0610_filter.h"

namespace tervo::gsm {

class Decoder {
 public:
  void decode(const Frame& frame, std::span<int16_t, frameSamples> out);

 private:
  static constexpr std::size_t maxLag = 120;

  void synthesiseLongTerm(const Subframe& subframe, std::size_t first);

  std::array<int16_t, maxLag + frameSamples> residual_{};  // drp, behind it the last 120 of the frame before
  std::size_t lag_ = 40;                                   // the last valid one
  ShortTermFilter filter_;
  int16_t deemphasis_ = 0;
};

}  // namespace tervo::gsm
