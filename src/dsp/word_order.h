#pragma once
// Changes of stored integers and floats that need no conversion: the other byte order, the other kind of sign.

#include <cstddef>
#include <span>

#include "base/endian.h"

namespace tervo::dsp {

/// Turns the bytes of every word round. Words have `width` bytes, 1 to 8; bytes behind the last whole word stay.
void reverseWords(std::span<std::byte> bytes, std::size_t width) noexcept;

/// Flips the highest bit of every word, which turns signed integers into unsigned ones and back.
void flipSigns(std::span<std::byte> bytes, std::size_t width, ByteOrder order) noexcept;

}  // namespace tervo::dsp
