#pragma once
// Sample data of which each frame is made of the frame at the same place of other sample data, while it is read.

#include <functional>

#include "core/sample_data.h"

namespace tervo {

/// Makes as many interleaved frames of others, which stand elsewhere in memory; `first` is the place of the first one.
/// What it does may depend on places, not on blocks.
using FrameMap = std::function<void(std::span<const float> in, std::span<float> out, int64_t first)>;

/// `map` is copied for every reading.
SampleRef mapped(SampleRef source, FrameMap map);

/// For a map that depends on the frames before: every reading makes one and gives it all frames from the first one on.
SampleRef mappedInOrder(SampleRef source, std::function<FrameMap()> make);

}  // namespace tervo
