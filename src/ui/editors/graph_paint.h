#pragma once
// What the graphic editors paint alike: lines of a grid, small labels, bubbles with values. Colours come from a
// palette, so that they follow dark and light themes.

#include <QPainter>
#include <QPalette>

namespace tervo::ui {

/// Between the background and the text: 0 is the background.
QColor tone(const QPalette& palette, double strength);
/// Lines of a grid; the zero line and the like are stronger.
QColor gridColour(const QPalette& palette);
QColor axisColour(const QPalette& palette);
QColor labelColour(const QPalette& palette);
QColor withAlpha(QColor colour, int alpha);

/// Smaller than the widget's own.
QFont labelFont(const QFont& font);

/// A text in a frame beside the point, within the area.
void paintBubble(QPainter& painter, const QPalette& palette, const QRectF& area, const QPointF& point,
                 const QString& text);
/// In the middle of the area, where there is nothing to show.
void paintNotice(QPainter& painter, const QPalette& palette, const QRectF& area, const QString& text);

/// "1.5 ms", "120 ms", "2.5 s".
QString timeText(double seconds);
/// "120", "1.5k".
QString hertzText(double hertz);
/// The smallest of 1, 2 and 5 times a power of ten that is not less.
double niceStep(double least);

}  // namespace tervo::ui
