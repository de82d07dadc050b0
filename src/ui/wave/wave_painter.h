#pragma once
// Draws the samples of one channel, or of the mean of both, into a rectangle.

#include <QPainter>

#include "ui/wave/peak_cache.h"
#include "ui/wave/wave_scale.h"

namespace tervo::ui {

enum class WaveStyle : uint8_t { outline, filled };

/// Where more than a few frames fall on a pixel: their extremes, as far as they have been read. Else the samples,
/// joined by lines, each with a dot where there is room. Frames come from `cache` and its samples.
void paintWave(QPainter& painter, const QRectF& area, const PeakCache& cache, int channel, const WaveScale& scale,
               WaveStyle style);

/// Interleaved frames [first, first + count), silence where there are none.
std::vector<float> framesOf(const SampleData& samples, int64_t first, int64_t count);

}  // namespace tervo::ui
