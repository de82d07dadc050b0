#pragma once
// Reading all frames of a waveform for what an operation has to know before it begins.

#include <functional>

#include "core/host.h"
#include "core/sample_data.h"

namespace tervo {

/// Gives all interleaved frames to `look`, block by block, with the place of the first one. False with LastErrorText
/// when the source fails, when `look` returns false, or, "Cancelled", when the host wants that.
bool scan(const SampleRef& samples, Host& host,
          const std::function<bool(std::span<const float> frames, int64_t first)>& look);

/// The largest magnitude of all samples that are finite. Nothing as above.
std::optional<float> peakOf(const SampleRef& samples, Host& host);

}  // namespace tervo
