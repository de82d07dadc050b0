#include "ui/editors/graph_paint.h"

#include <QObject>
#include <algorithm>
#include <cmath>

namespace tervo::ui {

QColor tone(const QPalette& palette, double strength) {
  const QColor from = palette.color(QPalette::Base), to = palette.color(QPalette::Text);
  const auto mixed = [strength](int a, int b) { return static_cast<int>(std::lround(a + (b - a) * strength)); };
  return {mixed(from.red(), to.red()), mixed(from.green(), to.green()), mixed(from.blue(), to.blue())};
}

QColor gridColour(const QPalette& palette) {
  return tone(palette, 0.12);
}

QColor axisColour(const QPalette& palette) {
  return tone(palette, 0.35);
}

QColor labelColour(const QPalette& palette) {
  return tone(palette, 0.62);
}

QColor withAlpha(QColor colour, int alpha) {
  colour.setAlpha(alpha);
  return colour;
}

QFont labelFont(const QFont& font) {
  QFont small = font;
  small.setPointSizeF(std::max(font.pointSizeF() * 0.85, 6.0));
  return small;
}

void paintBubble(QPainter& painter, const QPalette& palette, const QRectF& area, const QPointF& point,
                 const QString& text) {
  constexpr double padding = 5, distance = 12;
  QRectF box = painter.fontMetrics().boundingRect(QRect(0, 0, 600, 200), Qt::AlignLeft, text);
  box.adjust(-padding, -padding + 1, padding, padding - 1);
  const bool fitsAbove = point.y() - distance - box.height() >= area.top();
  box.moveCenter({point.x(), 0});
  box.moveTop(fitsAbove ? point.y() - distance - box.height() : point.y() + distance);
  box.moveLeft(std::clamp(box.left(), area.left(), std::max(area.right() - box.width(), area.left())));
  box.moveTop(std::clamp(box.top(), area.top(), std::max(area.bottom() - box.height(), area.top())));
  painter.save();
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(QPen(axisColour(palette), 1));
  painter.setBrush(palette.color(QPalette::ToolTipBase));
  painter.drawRoundedRect(box, 4, 4);
  painter.setPen(palette.color(QPalette::ToolTipText));
  painter.drawText(box, Qt::AlignCenter, text);
  painter.restore();
}

void paintNotice(QPainter& painter, const QPalette& palette, const QRectF& area, const QString& text) {
  painter.setPen(labelColour(palette));
  painter.drawText(area, static_cast<int>(Qt::AlignCenter) | Qt::TextWordWrap, text);
}

QString timeText(double seconds) {
  if (seconds < 0.01) return QObject::tr("%1 ms").arg(seconds * 1000, 0, 'g', 2);
  if (seconds < 0.9995) return QObject::tr("%1 ms").arg(std::lround(seconds * 1000));
  return QObject::tr("%1 s").arg(seconds, 0, 'g', 3);
}

QString hertzText(double hertz) {
  return hertz < 1000 ? QString::number(hertz) : QObject::tr("%1k").arg(hertz / 1000);
}

double niceStep(double least) {
  const double power = std::pow(10, std::floor(std::log10(least)));
  for (const double factor : {1.0, 2.0, 5.0}) {
    if (factor * power >= least * 0.999) return factor * power;
  }
  return 10 * power;
}

}  // namespace tervo::ui
