#include "ui/sound/play_icons.h"

#include <QPainter>
#include <QPixmap>
#include <QPolygonF>

namespace tervo::ui {
namespace {

QIcon iconOf(const QPolygonF& shape, const QPalette& palette) {
  constexpr int size = 64;
  QPixmap picture(size, size);
  picture.fill(Qt::transparent);
  QPainter painter(&picture);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(Qt::NoPen);
  painter.setBrush(palette.color(QPalette::ButtonText));
  painter.drawPolygon(shape);
  return QIcon(picture);
}

}  // namespace

QIcon playIcon(const QPalette& palette) {
  return iconOf(QPolygonF({QPointF(16, 8), QPointF(56, 32), QPointF(16, 56)}), palette);
}

QIcon stopIcon(const QPalette& palette) {
  return iconOf(QPolygonF(QRectF(12, 12, 40, 40)), palette);
}

}  // namespace tervo::ui
