#include "ui/wave/loop_seam_view.h"

#include <QPainter>
#include <QWheelEvent>
#include <algorithm>
#include <cmath>

#include "ui/wave/wave_painter.h"

namespace tervo::ui {

LoopSeamView::LoopSeamView(QWidget* parent) : QWidget(parent) {
  setMinimumSize(160, 60);
  setAccessibleName(tr("Loop seam"));
  setToolTip(tr("The end of the loop and its start as they follow each other; the wheel zooms"));
}

void LoopSeamView::show(ItemId waveform, int marker) {
  waveform_ = waveform;
  marker_ = marker;
  update();
}

void LoopSeamView::wheelEvent(QWheelEvent* event) {
  const double factor = std::pow(1.25, -event->angleDelta().y() / 120.0);
  framesASide_ = std::clamp(static_cast<int>(std::lround(framesASide_ * factor)), 8, 4000);
  update();
}

void LoopSeamView::paintSide(QPainter& painter, const Waveform& waveform, double seam, bool isLeft) const {
  const int64_t first = static_cast<int64_t>(std::floor(seam)) - (isLeft ? framesASide_ : 1);
  const int64_t count = framesASide_ + 2;
  const auto channels = static_cast<std::size_t>(waveform.channels());
  const auto frames = framesOf(*waveform.samples, first, count);
  const double middle = width() / 2.0, step = middle / framesASide_;
  painter.setClipRect(isLeft ? QRectF(0, 0, middle, height()) : QRectF(middle, 0, middle, height()));
  for (std::size_t channel = 0; channel < channels; ++channel) {
    QPolygonF line;
    for (int64_t i = 0; i < count; ++i) {
      const float sample = std::clamp(frames[static_cast<std::size_t>(i) * channels + channel], -1.0f, 1.0f);
      line << QPointF(middle + (static_cast<double>(first + i) - seam) * step,
                      height() / 2.0 * (1 - static_cast<double>(sample)));
    }
    painter.setPen(QPen(palette().color(QPalette::Active, channel == 0 ? QPalette::Highlight : QPalette::Link), 1.5));
    painter.drawPolyline(line);
  }
}

void LoopSeamView::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.fillRect(rect(), palette().color(QPalette::Base));
  const auto* waveform = findItem<Waveform>(waveform_);
  const bool hasMarker = waveform && waveform->samples && marker_ >= 0 &&
                         marker_ < static_cast<int>(waveform->markers.size()) &&
                         waveform->markers[static_cast<std::size_t>(marker_)].type == MarkerType::loop;
  painter.setPen(palette().color(QPalette::PlaceholderText));
  if (!hasMarker) return painter.drawText(rect(), Qt::AlignCenter, tr("No loop chosen"));
  painter.drawLine(QPointF(width() / 2.0, 0), QPointF(width() / 2.0, height()));
  painter.drawLine(QPointF(0, height() / 2.0), QPointF(width(), height() / 2.0));
  painter.setRenderHint(QPainter::Antialiasing);
  const QRect margin = rect().adjusted(6, 4, -6, -4);
  painter.drawText(margin, Qt::AlignLeft | Qt::AlignTop, tr("Loop end"));
  painter.drawText(margin, Qt::AlignRight | Qt::AlignTop, tr("Loop start"));
  const Marker& loop = waveform->markers[static_cast<std::size_t>(marker_)];
  paintSide(painter, *waveform, loop.end, true);
  paintSide(painter, *waveform, loop.start, false);
}

}  // namespace tervo::ui
