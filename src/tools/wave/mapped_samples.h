#pragma once
// Sample data of which each frame is made of the frame at the same place of other sample data, while it is read.

#include <functional>

#include "core/sample_data.h"

namespace tervo {

/// Changes interleaved frames in place; `first` is the place of the first one. What it does may depend on places, not
/// on blocks.
using FrameMap = std::function<void(std::span<float> frames, int64_t first)>;

SampleRef mapped(SampleRef source, FrameMap map);

}  // namespace tervo
