#pragma once
// The short-term analysis of the GSM 06.10 coder (EN 300 961, sections 5.2.4 to 5.2.7).

#include <array>
#include <cstdint>
#include <span>

#include "formats/codec/gsm0610_frame.h"

namespace tervo::gsm {

/// The coded log-area ratios of a frame. The samples lose their lowest bits where they are loud, as the standard has
/// it.
std::array<uint8_t, 8> analyseLpc(std::span<int16_t, frameSamples> samples);

}  // namespace tervo::gsm
