#include "ui/editors/envelope_editor.h"

#include <QPainter>
#include <QPainterPath>
#include <algorithm>
#include <cmath>

#include "audio/engine/units.h"
#include "ui/editors/graph_paint.h"
#include "ui/property_rows.h"

namespace tervo::ui {
namespace {

using P = ParameterId;

constexpr double leftMargin = 52, rightMargin = 14, topMargin = 14, bottomMargin = 38;

}  // namespace

EnvelopeEditor::EnvelopeEditor(DocumentSession& session, PropertyModel& model, QWidget* parent)
    : HandleView(session, model, parent) {
  setEnvelope(Modulator::volume);
}

void EnvelopeEditor::setEnvelope(Modulator which) {
  static constexpr const char* names[] = {QT_TR_NOOP("Volume envelope"), QT_TR_NOOP("Pitch envelope"),
                                          QT_TR_NOOP("Filter envelope"), QT_TR_NOOP("X envelope")};
  which_ = which;
  setAccessibleName(tr(names[static_cast<std::size_t>(which)]));
  refresh();
}

QRectF EnvelopeEditor::area() const {
  return QRectF(rect()).adjusted(leftMargin, topMargin, -rightMargin, -bottomMargin);
}

double EnvelopeEditor::yOf(double level) const {
  const QRectF box = area();
  return isBipolar() ? box.center().y() - level * box.height() / 2 : box.bottom() - level * box.height();
}

double EnvelopeEditor::levelAt(double y) const {
  const QRectF box = area();
  const double level = isBipolar() ? (box.center().y() - y) / box.height() * 2 : (box.bottom() - y) / box.height();
  // Whole percents are what people mean.
  return std::clamp(std::round(level * 100) / 100, isBipolar() ? -1.0 : 0.0, 1.0);
}

EnvelopeGraph EnvelopeEditor::graph() const {
  const auto& items = shownItems();
  return EnvelopeGraph::of(items.empty() ? noItem : items.front(), which_);
}

void EnvelopeEditor::chooseScale() {
  double longest = 0;
  for (const ItemId id : shownItems()) longest = std::max(longest, EnvelopeGraph::of(id, which_).longest());
  scale_ = EnvelopeScale(area().left(), area().right(), longest);
  releaseStart_ = scale_.releaseStart(graph());
}

std::vector<Handle> EnvelopeEditor::handles() const {
  const EnvelopeGraph now = graph();
  const EnvelopePlaces places(now, scale_, releaseStart_);
  const auto note = [this](double level) {
    return isBipolar() || level <= 0 ? QString() : tr("%1 dB").arg(std::round((level - 1) * 960) / 10);
  };
  std::vector<Handle> all{{QPointF(area().left(), yOf(now.initial)), tr("Initial level"), std::nullopt,
                           inEnvelope(which_, P::vEnvInitialLevel), std::nullopt, note(now.initial)}};
  for (std::size_t i = 0; i < envelopeSegments; ++i) {
    Handle handle{QPointF(places.to[i], yOf(now.levels[i])), tr(envelopeRows[i].name),
                  inEnvelope(which_, envelopeRows[i].time), inEnvelope(which_, envelopeRows[i].level)};
    if (i == attackSegments - 1) handle.name = tr("Decay 2, sustain");
    handle.note = note(now.levels[i]);
    // The row is a rate; people want to know the time, too.
    if (i == attackSegments) handle.note += (handle.note.isEmpty() ? QString() : tr(", ")) + timeText(now.seconds[i]);
    all.push_back(std::move(handle));
  }
  return all;
}

std::vector<HandleView::RowValue> EnvelopeEditor::valuesAt(int handle, const QPointF& place) const {
  const double level = levelAt(place.y());
  if (handle == 0) return {{inEnvelope(which_, P::vEnvInitialLevel), level}};
  const auto segment = static_cast<std::size_t>(handle) - 1;
  const EnvelopeGraph now = graph();
  const double x = std::min(place.x(), area().right());
  double seconds = scale_.seconds(x - EnvelopePlaces(now, scale_, releaseStart_).from[segment]);
  if (segment == attackSegments) {
    const double way = std::abs(level - now.levels[attackSegments - 1]);
    // Without a way to go any rate takes no time.
    seconds = way > 0 ? seconds / way : effectiveNumber(shownItems().front(), inEnvelope(which_, P::vEnvRelease1Rate));
  }
  // Two digits are finer than the mouse, and whole milliseconds finer than an ear.
  const double unit = seconds < 0.1 ? 0.001 : std::pow(10, std::floor(std::log10(seconds)) - 1);
  seconds = std::min(std::round(seconds / unit) * unit, 100.0);
  return {{inEnvelope(which_, envelopeRows[segment].time), seconds},
          {inEnvelope(which_, envelopeRows[segment].level), level}};
}

void EnvelopeEditor::paintGrid(QPainter& painter) const {
  const QRectF box = area();
  painter.setFont(labelFont(font()));
  for (int i = 0; i <= 4; ++i) {
    const double level = isBipolar() ? i * 0.5 - 1 : i * 0.25, y = yOf(level);
    const bool isZero = isBipolar() ? i == 2 : i == 0;
    painter.setPen(QPen(isZero ? axisColour(palette()) : gridColour(palette()), 0));
    painter.drawLine(QPointF(box.left(), y), QPointF(box.right(), y));
    painter.setPen(labelColour(palette()));
    QString label = tr("%1 dB").arg((level - 1) * audio::levelRangeDb);
    if (!isBipolar() && i == 0) label = tr("silent");
    if (isBipolar()) label = tr("%1 %").arg(level * 100);
    painter.drawText(QRectF(0, y - 10, box.left() - 8, 20), Qt::AlignRight | Qt::AlignVCenter, label);
  }
  const EnvelopeGraph now = graph();
  paintTimes(painter, now, EnvelopePlaces(now, scale_, releaseStart_));
}

void EnvelopeEditor::paintTimes(QPainter& painter, const EnvelopeGraph& graph, const EnvelopePlaces& places) const {
  const QRectF box = area();
  const QFontMetricsF metrics(painter.font());
  const auto label = [&](double from, double to, double y, const QString& text) {
    if (metrics.horizontalAdvance(text) < to - from - 2)
      painter.drawText(QRectF(from - 20, y, to - from + 40, 16), Qt::AlignCenter, text);
  };
  const double sustainFrom = places.to[attackSegments - 1], sustainTo = places.from[attackSegments];
  painter.fillRect(QRectF(sustainFrom, box.top(), sustainTo - sustainFrom, box.height()), tone(palette(), 0.04));
  for (std::size_t i = 0; i < envelopeSegments; ++i) {
    painter.setPen(QPen(gridColour(palette()), 1, Qt::DashLine));
    painter.drawLine(QPointF(places.to[i], box.top()), QPointF(places.to[i], box.bottom()));
    painter.setPen(labelColour(palette()));
    label(places.from[i], places.to[i], box.bottom() + 3, tr(envelopeRows[i].name));
    if (graph.seconds[i] > 0) label(places.from[i], places.to[i], box.bottom() + 18, timeText(graph.seconds[i]));
  }
  painter.setPen(QPen(gridColour(palette()), 1, Qt::DashLine));
  painter.drawLine(QPointF(sustainTo, box.top()), QPointF(sustainTo, box.bottom()));
  painter.setPen(labelColour(palette()));
  const bool isOneShot = valueOf(inEnvelope(which_, P::vEnvReleaseMode)) != 0;
  label(sustainFrom, sustainTo, box.bottom() + 3, isOneShot ? tr("note-off is ignored") : tr("Sustain"));
}

void EnvelopeEditor::paintSegment(QPainterPath& path, double from, double to, double before, double after) const {
  // Rises from silence are linear in gain, all others in level, which for the volume is linear in decibels.
  if (!isBipolar() && before <= 0 && after > 0) {
    constexpr int steps = 40;
    const float top = audio::gainOfLevel(static_cast<float>(after));
    for (int i = 1; i < steps; ++i) {
      const float gain = top * static_cast<float>(i) / steps;
      path.lineTo(from + (to - from) * i / steps, yOf(double{audio::levelOfGain(gain)}));
    }
  }
  path.lineTo(to, yOf(after));
}

void EnvelopeEditor::paintCurve(QPainter& painter, ItemId item, const QColor& colour) const {
  const EnvelopeGraph now = EnvelopeGraph::of(item, which_);
  const EnvelopePlaces places(now, scale_, releaseStart_);
  QPainterPath path(QPointF(places.from[0], yOf(now.initial)));
  for (int i = 0; i < envelopeSegments; ++i) {
    const auto index = static_cast<std::size_t>(i);
    path.lineTo(places.from[index], yOf(now.levelBefore(i)));
    paintSegment(path, places.from[index], places.to[index], now.levelBefore(i), now.levels[index]);
  }
  QPainterPath filled = path;
  filled.lineTo(places.to.back(), yOf(0));
  filled.lineTo(places.from.front(), yOf(0));
  painter.fillPath(filled, withAlpha(colour, colour.alpha() / 6));
  painter.strokePath(path, QPen(colour, 2));
}

}  // namespace tervo::ui
