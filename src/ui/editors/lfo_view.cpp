#include "ui/editors/lfo_view.h"

#include <QPainter>
#include <QPainterPath>
#include <algorithm>
#include <cmath>

#include "audio/engine/lfo.h"
#include "ui/editors/graph_paint.h"
#include "ui/property_rows.h"

namespace tervo::ui {
namespace {

using P = ParameterId;
using audio::LfoShape;

constexpr double turnsShown = 4;
enum Point { delayEnd, rampEnd, turnEnd };

/// The LFO of an item: its value at a time after the key was pressed.
struct LfoCurve {
  LfoShape shape;
  double hertz, delay, ramp;

  static LfoCurve of(ItemId item, Modulator which) {
    const auto value = [&](P row) { return effectiveNumber(item, inLfo(which, row)); };
    const double number = value(P::pLfoShape);
    // What the engine does with shapes that it does not know.
    const bool isKnown = number <= static_cast<double>(LfoShape::noisePlus);
    return {isKnown ? static_cast<LfoShape>(static_cast<int>(number)) : LfoShape::sine, value(P::pLfoFrequency),
            value(P::pLfoDelay), value(P::pLfoRamp)};
  }
  double at(double seconds) const {
    if (seconds < delay) return 0;
    const double turns = (seconds - delay) * hertz, whole = std::floor(turns);
    const float held = audio::Random(static_cast<uint32_t>(whole) + 1).bipolar();
    const double fade = ramp > 0 ? std::min((seconds - delay) / ramp, 1.0) : 1;
    return fade * double{audio::lfoShapeAt(shape, static_cast<float>(turns - whole), held)};
  }
};

}  // namespace

LfoView::LfoView(DocumentSession& session, PropertyModel& model, QWidget* parent) : HandleView(session, model, parent) {
  setLfo(Modulator::pitch);
}

void LfoView::setLfo(Modulator which) {
  static constexpr const char* names[] = {QT_TR_NOOP("Volume LFO"), QT_TR_NOOP("Pitch LFO"), QT_TR_NOOP("Filter LFO"),
                                          QT_TR_NOOP("X LFO")};
  which_ = which;
  setAccessibleName(tr(names[static_cast<std::size_t>(which)]));
  refresh();
}

QRectF LfoView::area() const {
  return QRectF(rect()).adjusted(40, 20, -16, -32);
}

double LfoView::xOf(double seconds) const {
  return area().left() + area().width() * seconds / shownSeconds_;
}

double LfoView::secondsAt(double x) const {
  return std::max((x - area().left()) / area().width() * shownSeconds_, 0.0);
}

double LfoView::yOf(double value) const {
  return area().center().y() - value * area().height() / 2;
}

void LfoView::chooseScale() {
  const LfoCurve curve = LfoCurve::of(shownItems().empty() ? noItem : shownItems().front(), which_);
  const double settled = curve.delay + std::max(curve.ramp, 1 / curve.hertz);
  shownSeconds_ = std::max(settled * 1.25, curve.delay + turnsShown / curve.hertz);
}

std::vector<Handle> LfoView::handles() const {
  const double delay = valueOf(row(P::pLfoDelay)), ramp = valueOf(row(P::pLfoRamp));
  const double turn = 1 / valueOf(row(P::pLfoFrequency));
  return {{QPointF(xOf(delay), yOf(0)), tr("Delay"), row(P::pLfoDelay)},
          {QPointF(xOf(delay + ramp), yOf(1)), tr("Ramp"), row(P::pLfoRamp)},
          {QPointF(xOf(delay + turn), yOf(-1)), tr("Frequency"), row(P::pLfoFrequency), std::nullopt, std::nullopt,
           tr("%1 a turn").arg(timeText(turn))}};
}

std::vector<HandleView::RowValue> LfoView::valuesAt(int handle, const QPointF& place) const {
  const auto rounded = [](double value, double unit) { return std::round(value / unit) * unit; };
  const double seconds = secondsAt(std::min(place.x(), area().right()));
  const double unit = shownSeconds_ < 2 ? 0.001 : 0.01;
  if (handle == delayEnd) return {{row(P::pLfoDelay), rounded(seconds, unit)}};
  const double since = std::max(seconds - valueOf(row(P::pLfoDelay)), 0.0);
  if (handle == rampEnd) return {{row(P::pLfoRamp), rounded(since, unit)}};
  return {{row(P::pLfoFrequency), rounded(1 / std::max(since, 0.05), 0.01)}};
}

void LfoView::paintGrid(QPainter& painter) const {
  const QRectF box = area();
  painter.setFont(labelFont(font()));
  for (const double value : {-1.0, -0.5, 0.0, 0.5, 1.0}) {
    painter.setPen(QPen(value == 0 ? axisColour(palette()) : gridColour(palette()), 0));
    painter.drawLine(QPointF(box.left(), yOf(value)), QPointF(box.right(), yOf(value)));
    painter.setPen(labelColour(palette()));
    if (std::abs(value) != 0.5)
      painter.drawText(QRectF(0, yOf(value) - 10, box.left() - 8, 20), Qt::AlignRight | Qt::AlignVCenter,
                       QString::number(value));
  }
  const double step = niceStep(shownSeconds_ * 70 / box.width());
  for (int i = 0; i * step <= shownSeconds_; ++i) {
    painter.setPen(QPen(gridColour(palette()), 0));
    painter.drawLine(QPointF(xOf(i * step), box.top()), QPointF(xOf(i * step), box.bottom()));
    painter.setPen(labelColour(palette()));
    painter.drawText(QRectF(xOf(i * step) - 40, box.bottom() + 10, 80, 16), Qt::AlignCenter,
                     i == 0 ? QStringLiteral("0") : timeText(i * step));
  }
}

void LfoView::paintCurve(QPainter& painter, ItemId item, const QColor& colour) const {
  const LfoCurve curve = LfoCurve::of(item, which_);
  const QRectF box = area();
  QPainterPath path(QPointF(box.left(), yOf(0)));
  // Two values a pixel keep edges upright and quick turns whole.
  for (double x = box.left(); x <= box.right(); x += 0.5) path.lineTo(x, yOf(curve.at(secondsAt(x))));
  const double end = curve.delay + curve.ramp;
  painter.setPen(QPen(withAlpha(colour, colour.alpha() / 3), 1, Qt::DashLine));
  for (const double side : {1.0, -1.0}) {
    painter.drawLine(QPointF(xOf(curve.delay), yOf(0)), QPointF(xOf(end), yOf(side)));
    painter.drawLine(QPointF(xOf(end), yOf(side)), QPointF(box.right(), yOf(side)));
  }
  painter.save();
  painter.setClipRect(box.adjusted(0, -2, 0, 2));
  painter.strokePath(path, QPen(colour, 2));
  painter.restore();
}

}  // namespace tervo::ui
