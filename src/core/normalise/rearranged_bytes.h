#pragma once
// Stored bytes of frames that only moved: integers of 32 bits and floats of 64, which 32-bit floats would round, keep
// every bit when they are saved as they were stored.

#include <optional>

#include "core/normalise/sample_views.h"

namespace tervo::fixup {

/// The bytes of pieces in a row; nothing where floats are as good, or a source has no bytes that can be moved.
std::optional<StoredSamples> bytesOf(const std::vector<Piece>& pieces);
/// The bytes of some of the channels of stereo frames, in the order given.
std::optional<StoredSamples> bytesOf(const SampleRef& stereo, std::vector<int> channels);

}  // namespace tervo::fixup
