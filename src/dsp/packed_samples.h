#pragma once
// Stored samples that the vector kernels do not know: packed to 12 or 20 bits, in wide containers, as differences, as
// indices of a table. Rare in files that are large, so written for clarity.

#include <cstddef>
#include <cstdint>
#include <span>

#include "base/endian.h"

namespace tervo::dsp {

enum class Signedness : uint8_t { twosComplement, offset };

/// Samples of 12 or 20 bits, two in three or five bytes. Little-endian the first one has the low bits of the group,
/// big-endian the high bits. Converts as many samples as fit into `out` and are wholly in `in`, which begins with a
/// group, after leaving out the first `skip`; returns how many.
std::size_t decodePacked(int bits, ByteOrder order, Signedness sign, std::span<const std::byte> in, std::size_t skip,
                         std::span<float> out) noexcept;
/// The reverse, rounded half up at 12 bits and down at 20 as the encoders of whole bytes do it. Returns the bytes
/// written; a last sample without a partner leaves the rest of its last byte zero.
std::size_t encodePacked(int bits, ByteOrder order, Signedness sign, std::span<const float> in,
                         std::span<std::byte> out) noexcept;

/// Integers of 5 to 8 bytes, full scale is that of all their bytes.
std::size_t decodeWide(std::size_t containerBytes, ByteOrder order, Signedness sign, std::span<const std::byte> in,
                       std::span<float> out) noexcept;

/// Differences of 8 or 16 bits (1 or 2 bytes): each sample is the sum so far, which wraps. `sum` goes on from call to
/// call, 0 at the beginning.
std::size_t decodeDelta(std::size_t bytes, ByteOrder order, Signedness sign, uint16_t& sum,
                        std::span<const std::byte> in, std::span<float> out) noexcept;
std::size_t encodeDelta(std::size_t bytes, ByteOrder order, Signedness sign, uint16_t& sum, std::span<const float> in,
                        std::span<std::byte> out) noexcept;

/// One byte a sample, which is an index.
std::size_t decodeTable(std::span<const float, 256> table, std::span<const std::byte> in,
                        std::span<float> out) noexcept;

}  // namespace tervo::dsp
