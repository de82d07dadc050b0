#include "ui/wave/wave_painter.h"

#include <algorithm>
#include <cmath>

#include "base/last_error.h"

namespace tervo::ui {
namespace {

// Single samples get dots from so many pixels a frame on.
constexpr double dotPixels = 6;

double yOf(const QRectF& area, float sample) {
  return area.center().y() - static_cast<double>(std::clamp(sample, -1.0f, 1.0f)) * area.height() / 2;
}

void paintPeak(QPainter& painter, const QRectF& area, double x, Peak peak, WaveStyle style) {
  if (style == WaveStyle::filled) peak = {std::min(peak.low, 0.0f), std::max(peak.high, 0.0f)};
  const double top = yOf(area, peak.high), bottom = std::max(yOf(area, peak.low), top + 1);
  painter.fillRect(QRectF(x, top, 1, bottom - top), painter.pen().color());
}

void paintPeaks(QPainter& painter, const QRectF& area, const PeakCache& cache, int channel, const WaveScale& scale,
                WaveStyle style) {
  for (int x = 0; x < static_cast<int>(area.width()); ++x) {
    if (const auto peak = cache.peak(channel, scale.frameAt(x), scale.frameAt(x + 1)))
      paintPeak(painter, area, area.left() + x, *peak, style);
  }
}

/// The extremes of the frames themselves, a pixel after another.
void paintFramePeaks(QPainter& painter, const QRectF& area, std::span<const float> frames, int channels, int channel,
                     const WaveScale& scale, int64_t first, WaveStyle style) {
  const auto count = static_cast<int64_t>(frames.size()) / channels;
  for (int x = 0; x < static_cast<int>(area.width()); ++x) {
    const int64_t from = std::max<int64_t>(static_cast<int64_t>(scale.frameAt(x)) - first, 0);
    const int64_t to = std::min(static_cast<int64_t>(std::ceil(scale.frameAt(x + 1))) - first + 1, count);
    if (from >= to) continue;
    Peak peak{1, -1};
    for (int64_t i = from; i < to; ++i) {
      const float sample = frames[static_cast<std::size_t>(i * channels + channel)];
      peak = {std::min(peak.low, sample), std::max(peak.high, sample)};
    }
    paintPeak(painter, area, area.left() + x, peak, style);
  }
}

void paintSamples(QPainter& painter, const QRectF& area, std::span<const float> frames, int channels, int channel,
                  const WaveScale& scale, int64_t first) {
  QPolygonF line;
  const auto count = static_cast<int64_t>(frames.size()) / channels;
  for (int64_t i = 0; i < count; ++i) {
    const float sample = frames[static_cast<std::size_t>(i * channels + channel)];
    line << QPointF(area.left() + scale.xOf(static_cast<double>(first + i)), yOf(area, sample));
  }
  painter.drawPolyline(line);
  if (scale.framesPerPixel * dotPixels > 1) return;
  painter.setBrush(painter.pen().color());
  for (const QPointF& point : line) painter.drawEllipse(point, 2, 2);
  painter.setBrush(Qt::NoBrush);
}

}  // namespace

std::vector<float> framesOf(const SampleData& samples, int64_t first, int64_t count) {
  const auto channels = static_cast<std::size_t>(samples.channels());
  const int64_t from = std::clamp<int64_t>(first, 0, samples.frames());
  const int64_t end = std::clamp<int64_t>(first + count, from, samples.frames());
  std::vector<float> frames(static_cast<std::size_t>(std::max<int64_t>(count, 0)) * channels);
  const SilentFailures nobodyAsked;
  const auto stream = end > from ? samples.open(from) : nullptr;
  auto rest = std::span(frames).subspan(static_cast<std::size_t>(from - first) * (end > from ? channels : 0));
  rest = rest.first(std::min(rest.size(), static_cast<std::size_t>(end - from) * channels));
  while (stream && !rest.empty()) {
    const auto part = stream->read(rest);
    if (!part || *part == 0) break;
    rest = rest.subspan(*part * channels);
  }
  return frames;
}

void paintWave(QPainter& painter, const QRectF& area, const PeakCache& cache, int channel, const WaveScale& scale,
               WaveStyle style) {
  if (!cache.samples()) return;
  if (!PeakCache::isTooCoarseFor(scale.framesPerPixel)) return paintPeaks(painter, area, cache, channel, scale, style);
  const int channels = cache.samples()->channels();
  const int64_t frames = cache.samples()->frames();
  const int64_t first = std::clamp<int64_t>(static_cast<int64_t>(scale.first) - 1, 0, frames);
  const int64_t end = std::clamp<int64_t>(static_cast<int64_t>(scale.frameAt(area.width())) + 3, first, frames);
  const auto part = framesOf(*cache.samples(), first, end - first);
  if (scale.framesPerPixel > 2)
    paintFramePeaks(painter, area, part, channels, channel, scale, first, style);
  else
    paintSamples(painter, area, part, channels, channel, scale, first);
}

}  // namespace tervo::ui
