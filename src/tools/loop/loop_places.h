#pragma once
// The zero crossings of a sound as places that loops may begin and end at, prepared for the ways of searching.

#include <cstdint>
#include <span>
#include <vector>

#include "tools/loop/loop_range.h"
#include "tools/loop/search_progress.h"
#include "tools/loop/span_score.h"

namespace tervo {

/// The 256 frames around a crossing, 128 of them before it. Many crossings whose frames are the same to the last bit
/// share a span.
struct LoopSpan {
  const float* frames;
  double length;
  std::span<const uint32_t> positions;  ///< of the crossings, in ascending order
};

/// Crossings of one direction.
struct LoopPlaces {
  /// Of crossings that are far enough from the ends of the sound. Those of one crossing come first, in ascending order.
  std::vector<LoopSpan> spans;
  std::size_t single = 0;           ///< how many spans have one crossing
  std::vector<uint32_t> positions;  ///< what the spans refer to
};

/// Of 256 frames.
double lengthOfSpan(const float* frames);

/// A sound multiplied with 2^100, and divided by it, where some spans are too soft or too loud to be given length 1 in
/// single precision; else empty.
struct ScaledSounds {
  std::vector<float> lifted, lowered;
};
ScaledSounds scaledSounds(std::span<const float> x, std::span<const std::vector<uint32_t>> crossings);

/// Spans that are silent, or hold what is no finite number, have no score and are left out of `spans`. `x` and
/// `scaled` must outlive `places`. `many` is how many crossings share a span, at least. False when stopped.
bool findLoopPlaces(std::span<const float> x, const ScaledSounds& scaled, std::span<const uint32_t> crossings,
                    std::size_t many, const SearchProgress& progress, LoopPlaces& places);

/// Of crossings in ascending order those that may be the start of a loop to `end`: indices first to before last.
struct StartRange {
  std::size_t first, last;

  std::size_t count() const { return last - first; }
};
StartRange startsFor(std::span<const uint32_t> ascending, std::size_t end, const LoopRange& range);

}  // namespace tervo
