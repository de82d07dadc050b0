#pragma once
// The directions in which the spans of a sound differ most.

#include <span>
#include <vector>

#include "dsp/span_kernels.h"
#include "tools/loop/loop_places.h"

namespace tervo {

/// Eight spans, one after another, of length 1 and at right angles to each other (or 0 where the sound has fewer
/// directions): the strongest principal components of some of the spans, strongest first. Whatever they are, two
/// spans are never closer to each other than their projections.
std::vector<float> spanBasis(std::span<const LoopSpan> spans);

}  // namespace tervo
