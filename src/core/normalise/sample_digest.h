#pragma once
// A short stand-in for sample content: equal frames have equal digests, and different ones differ for all practical
// purposes.

#include <array>
#include <cstdint>
#include <optional>

#include "core/sample_data.h"

namespace tervo::fixup {

using SampleDigest = std::array<uint64_t, 4>;

/// Reads the frames once. Nothing with LastErrorText when they cannot be read to their end.
std::optional<SampleDigest> digestOf(const SampleData& samples);
/// The same of stored bytes, for formats that hold more than 32-bit floats can. Nothing for split channels either.
std::optional<SampleDigest> digestOfStored(const StoredSamples& stored);

}  // namespace tervo::fixup
