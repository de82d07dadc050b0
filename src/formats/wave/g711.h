#pragma once
// A-law and mu-law, ITU-T G.711.

#include <cstddef>
#include <cstdint>
#include <span>

namespace tervo {

enum class CompandingLaw : uint8_t { muLaw, aLaw };

/// The sample of each byte, full scale 1.0 (16-bit values / 32768).
std::span<const float, 256> expansionTable(CompandingLaw law) noexcept;

/// Compresses a 16-bit value as the reference software does (ITU-T G.191, alaw_compress and ulaw_compress): on a
/// decision value the larger magnitude wins for positive samples, the smaller for negative ones.
uint8_t compress(CompandingLaw law, int16_t value) noexcept;

/// Rounds to 16 bits and compresses as many samples as both spans hold; returns their number.
std::size_t compress(CompandingLaw law, std::span<const float> in, std::span<std::byte> out) noexcept;

}  // namespace tervo
