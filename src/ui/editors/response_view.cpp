#include "ui/editors/response_view.h"

#include <QPainter>
#include <QPainterPath>
#include <cmath>

#include "ui/editors/graph_paint.h"

namespace tervo::ui {

QRectF ResponseView::area() const {
  return QRectF(rect()).adjusted(52, 12, -14, -24);
}

double ResponseView::xOf(double hertz) const {
  return area().left() + area().width() * std::log(hertz / lowestHertz) / std::log(highestHertz / lowestHertz);
}

double ResponseView::hertzAt(double x) const {
  const double place = std::clamp((x - area().left()) / area().width(), 0.0, 1.0);
  const double hertz = lowestHertz * std::pow(highestHertz / lowestHertz, place);
  // Three digits: half a percent, a tenth of a semitone.
  const double unit = std::pow(10, std::floor(std::log10(hertz)) - 2);
  return std::round(hertz / unit) * unit;
}

double ResponseView::yOf(double dB) const {
  return area().top() + area().height() * (highestDb_ - dB) / (highestDb_ - lowestDb_);
}

double ResponseView::dBAt(double y) const {
  return highestDb_ - (y - area().top()) / area().height() * (highestDb_ - lowestDb_);
}

void ResponseView::setRange(double lowestDb, double highestDb) {
  lowestDb_ = lowestDb;
  highestDb_ = highestDb;
}

void ResponseView::paintGrid(QPainter& painter) const {
  const QRectF box = area();
  painter.setFont(labelFont(font()));
  const QPen faint(gridColour(palette()), 0), label(labelColour(palette()));
  const double step = (highestDb_ - lowestDb_) * 24 / box.height() > 6 ? 12 : 6;
  for (double dB = std::ceil(lowestDb_ / step) * step; dB <= highestDb_; dB += step) {
    painter.setPen(dB == 0 ? QPen(axisColour(palette()), 0) : faint);
    painter.drawLine(QPointF(box.left(), yOf(dB)), QPointF(box.right(), yOf(dB)));
    painter.setPen(label);
    const QString text = dB > 0 ? tr("+%1 dB").arg(dB) : tr("%1 dB").arg(dB);
    painter.drawText(QRectF(0, yOf(dB) - 10, box.left() - 8, 20), Qt::AlignRight | Qt::AlignVCenter, text);
  }
  for (double decade = 10; decade <= 10000; decade *= 10) {
    for (int i = 1; i < 10 && decade * i <= highestHertz; ++i) {
      painter.setPen(i == 1 ? QPen(tone(palette(), 0.2), 0) : faint);
      painter.drawLine(QPointF(xOf(decade * i), box.top()), QPointF(xOf(decade * i), box.bottom()));
      if (i != 1 && i != 2 && i != 5) continue;
      painter.setPen(label);
      painter.drawText(QRectF(xOf(decade * i) - 30, box.bottom() + 4, 60, 16), Qt::AlignCenter,
                       hertzText(decade * i) + (decade * i == 20000 ? tr(" Hz") : QString()));
    }
  }
}

void ResponseView::paintLine(QPainter& painter, const std::vector<QPointF>& line, const QColor& colour) const {
  if (line.empty()) return;
  QPainterPath path(line.front());
  for (const QPointF& point : line) path.lineTo(point);
  QPainterPath filled = path;
  filled.lineTo(line.back().x(), yOf(0));
  filled.lineTo(line.front().x(), yOf(0));
  painter.save();
  painter.setClipRect(area());
  painter.fillPath(filled, withAlpha(colour, colour.alpha() / 6));
  painter.strokePath(path, QPen(colour, 2));
  painter.restore();
}

}  // namespace tervo::ui
