#include "ui/editors/song_view.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <algorithm>
#include <cmath>

#include "core/parameter_lists.h"
#include "ui/editors/graph_paint.h"
#include "ui/piano_keys.h"
#include "ui/qt_text.h"
#include "ui/waveform_list_model.h"

namespace tervo::ui {
namespace {

constexpr double keysWidth = 40, rulerHeight = 18;
constexpr int rulers = 3;  // bars, seconds, what is written over the notes
constexpr double zoomStep = 1.25;

}  // namespace

SongView::SongView(QWidget* parent) : QWidget(parent) {
  setFocusPolicy(Qt::StrongFocus);
  setMouseTracking(true);
  setMinimumSize(240, 120);
  setAccessibleName(tr("Song"));
}

QColor SongView::colourOfTrack(const QPalette& palette, int track) {
  const bool isDark = palette.color(QPalette::Base).lightness() < 128;
  return QColor::fromHsl((205 + track * 53) % 360, 170, isDark ? 155 : 120);
}

QRectF SongView::rollArea() const {
  return QRectF(rect()).adjusted(keysWidth, rulerHeight * rulers, 0, 0);
}

void SongView::setRoll(SongRoll roll, bool isSame) {
  roll_ = std::move(roll);
  if (isSame) return setScale(scale_);
  place_ = 0;
  showAll();
}

void SongView::setHighlighted(std::vector<int> tracks) {
  highlighted_ = std::move(tracks);
  update();
}

void SongView::setPlayPosition(std::optional<double> seconds) {
  if (playPosition_ == seconds) return;
  playPosition_ = seconds;
  update();
  if (!seconds || !roll_.tempi()) return;
  const double tick = roll_.tempi()->tickAt(*seconds), x = scale_.xOf(tick);
  if (x > rollArea().width() || x < 0) setScale({tick, scale_.framesPerPixel});
}

void SongView::setPlace(double seconds) {
  place_ = seconds;
  update();
  Q_EMIT placeChosen(seconds);
}

void SongView::setScale(const WaveScale& scale) {
  scale_ = scale.within(ticks(), rollArea().width());
  Q_EMIT scaleChanged();
  update();
}

void SongView::showAll() {
  setScale(WaveScale::whole(ticks() * 1.01, rollArea().width()));
}

void SongView::zoomAt(double factor, double x) {
  setScale(scale_.zoomed(factor, x, ticks() * 1.01, rollArea().width()));
}

void SongView::scroll(double pixels) {
  WaveScale scale = scale_;
  scale.first += pixels * scale.framesPerPixel;
  setScale(scale);
}

uint64_t SongView::tickAt(double x) const {
  return static_cast<uint64_t>(std::clamp(scale_.frameAt(x - rollArea().left()), 0.0, ticks()));
}

double SongView::keyHeight() const {
  return rollArea().height() / (roll_.highestKey() - roll_.lowestKey() + 5);
}

double SongView::yOf(int key) const {
  return rollArea().bottom() - (key - roll_.lowestKey() + 3) * keyHeight();
}

QRectF SongView::rectOf(const RollNote& note) const {
  const double left = xOf(static_cast<double>(note.start)), right = xOf(static_cast<double>(note.end));
  return {left, yOf(note.key), std::max(right - left, 1.5), std::max(keyHeight() - 0.5, 1.0)};
}

bool SongView::isHighlighted(int track) const {
  return highlighted_.empty() || std::find(highlighted_.begin(), highlighted_.end(), track) != highlighted_.end();
}

const RollNote* SongView::noteAt(const QPointF& point) const {
  const RollNote* best = nullptr;
  for (const RollNote& note : roll_.notes()) {
    const bool isBetter = !best || isHighlighted(note.track) || !isHighlighted(best->track);
    if (isBetter && rectOf(note).adjusted(-1, -1, 1, 1).contains(point)) best = &note;
  }
  return rollArea().contains(point) ? best : nullptr;
}

void SongView::mousePressEvent(QMouseEvent* event) {
  if (event->button() == Qt::LeftButton && event->position().x() >= rollArea().left())
    setPlace(roll_.secondsAt(tickAt(event->position().x())));
}

void SongView::mouseMoveEvent(QMouseEvent* event) {
  mouse_ = event->position();
  update();
}

void SongView::leaveEvent(QEvent*) {
  mouse_.reset();
  update();
}

void SongView::wheelEvent(QWheelEvent* event) {
  const double turns = event->angleDelta().y() / 120.0, sideways = event->angleDelta().x() / 120.0;
  if (event->modifiers() & Qt::ControlModifier)
    return zoomAt(std::pow(zoomStep, -turns), event->position().x() - rollArea().left());
  scroll(-(turns + sideways) * rollArea().width() / 10);
}

void SongView::keyPressEvent(QKeyEvent* event) {
  switch (event->key()) {
    case Qt::Key_Left:
      return scroll(-rollArea().width() / 20);
    case Qt::Key_Right:
      return scroll(rollArea().width() / 20);
    case Qt::Key_PageUp:
      return scroll(-rollArea().width());
    case Qt::Key_PageDown:
      return scroll(rollArea().width());
    case Qt::Key_Home:
      return setScale({0, scale_.framesPerPixel});
    case Qt::Key_End:
      return setScale({ticks(), scale_.framesPerPixel});
    case Qt::Key_Plus:
    case Qt::Key_Equal:
      return zoom(1 / zoomStep);
    case Qt::Key_Minus:
      return zoom(zoomStep);
    case Qt::Key_0:
      return showAll();
    default:
      QWidget::keyPressEvent(event);
  }
}

void SongView::resizeEvent(QResizeEvent* event) {
  const double before = event->oldSize().width() - keysWidth;
  const bool showedAll = scale_.framesPerPixel >= WaveScale::whole(ticks() * 1.01, before).framesPerPixel * 0.999;
  showedAll || event->oldSize().width() <= 0 ? showAll() : setScale(scale_);
}

void SongView::paintKeys(QPainter& painter) const {
  const QRectF area = rollArea();
  for (int key = roll_.lowestKey() - 2; key <= roll_.highestKey() + 2; ++key) {
    if (key < 0 || key > 127) continue;
    const QRectF row(area.left(), yOf(key), area.width(), keyHeight());
    if (isBlackKey(key)) painter.fillRect(row, tone(palette(), 0.04));
    const QRectF box(area.left() - 14, row.top(), 12, row.height());
    painter.fillRect(box, isBlackKey(key) ? QColor(0x30, 0x30, 0x30) : QColor(0xf4, 0xf4, 0xf0));
    if (key % 12 != 0) continue;
    painter.setPen(QPen(gridColour(palette()), 0));
    painter.drawLine(row.bottomLeft(), row.bottomRight());
    painter.setPen(labelColour(palette()));
    painter.drawText(QRectF(0, row.center().y() - 8, area.left() - 18, 16), Qt::AlignRight | Qt::AlignVCenter,
                     qt(keyName(key)));
  }
}

void SongView::paintRulers(QPainter& painter) const {
  const QRectF area = rollArea();
  painter.fillRect(QRectF(0, 0, width(), area.top()), tone(palette(), 0.05));
  painter.setPen(labelColour(palette()));
  painter.drawText(QRectF(0, 0, keysWidth - 6, rulerHeight), Qt::AlignRight | Qt::AlignVCenter, tr("bar"));
  painter.drawText(QRectF(0, rulerHeight, keysWidth - 6, rulerHeight), Qt::AlignRight | Qt::AlignVCenter, tr("time"));
  const uint64_t from = tickAt(area.left()), to = tickAt(area.right());
  for (const BarLine& bar : roll_.bars(from, to, 46 * scale_.framesPerPixel)) {
    const double x = xOf(static_cast<double>(bar.tick));
    painter.setPen(QPen(tone(palette(), 0.16), 0));
    painter.drawLine(QPointF(x, 4), QPointF(x, area.bottom()));
    painter.setPen(palette().color(QPalette::Text));
    painter.drawText(QPointF(x + 3, rulerHeight - 5), QString::number(bar.number));
  }
  const double first = roll_.secondsAt(from), last = roll_.secondsAt(to);
  if (!roll_.tempi() || last <= first) return;
  const double wanted = niceStep((last - first) * 70 / area.width());
  // Whole minutes where single seconds are too many.
  const double step = wanted > 50 ? std::ceil(wanted / 60) * 60 : wanted > 20 ? 30 : wanted;
  for (double second = std::ceil(first / step) * step; second <= last; second += step) {
    const double x = xOf(roll_.tempi()->tickAt(second));
    painter.setPen(QPen(axisColour(palette()), 0));
    painter.drawLine(QPointF(x, 2 * rulerHeight - 5), QPointF(x, 2 * rulerHeight));
    painter.setPen(labelColour(palette()));
    const int minutes = static_cast<int>(second / 60);
    const QString rest = QString::number(second - minutes * 60.0, 'f', step < 1 ? 1 : 0);
    painter.drawText(QPointF(x + 3, 2 * rulerHeight - 5),
                     QStringLiteral("%1:%2").arg(minutes).arg(rest, step < 1 ? 4 : 2, u'0'));
  }
}

void SongView::paintMarks(QPainter& painter) const {
  const QRectF area = rollArea();
  double free = area.left();
  painter.save();
  painter.setClipRect(QRectF(area.left(), 0, area.width(), height()));
  for (const RollMark& mark : roll_.marks()) {
    const double x = xOf(static_cast<double>(mark.tick));
    if (x > area.right() || !isHighlighted(mark.track)) continue;
    const QString text = qt(mark.text).left(32);
    const double wide = painter.fontMetrics().horizontalAdvance(text) + 10;
    if (x < area.left() - wide) continue;
    painter.setPen(QPen(colourOfTrack(palette(), mark.track), 1));
    painter.drawLine(QPointF(x, 2 * rulerHeight + 3), QPointF(x, 3 * rulerHeight));
    // Where they stand too close, the first one is readable.
    if (x < free) continue;
    painter.setPen(labelColour(palette()));
    painter.drawText(QPointF(x + 3, 3 * rulerHeight - 5), text);
    free = x + wide;
  }
  painter.restore();
  painter.setPen(QPen(axisColour(palette()), 0));
  painter.drawLine(QPointF(0, area.top()), QPointF(width(), area.top()));
}

void SongView::paintNotes(QPainter& painter) const {
  painter.save();
  painter.setClipRect(rollArea());
  const uint64_t end = tickAt(rollArea().right()) + 1;
  for (const bool highlighted : {false, true}) {
    for (const RollNote& note : roll_.notes()) {
      if (note.start > end) break;
      const QRectF box = rectOf(note);
      if (isHighlighted(note.track) != highlighted || box.right() < rollArea().left()) continue;
      // The harder, the stronger.
      const int alpha = highlighted ? 100 + note.velocity * 155 / 127 : 45;
      painter.fillRect(box, withAlpha(colourOfTrack(palette(), note.track), alpha));
    }
  }
  painter.restore();
}

void SongView::paintTimeLine(QPainter& painter, double seconds, const QPen& pen) const {
  const double x = xOf(roll_.tempi()->tickAt(seconds));
  painter.setPen(pen);
  if (x >= rollArea().left()) painter.drawLine(QPointF(x, 0), QPointF(x, height()));
}

QString SongView::describe(const RollNote& note) const {
  const double seconds = roll_.secondsAt(note.end) - roll_.secondsAt(note.start);
  return tr("%1, velocity %2, channel %3\nat %4 (%5), %6 long")
      .arg(qt(keyName(note.key)))
      .arg(note.velocity)
      .arg(note.channel + 1)
      .arg(roll_.place(note.start), durationText(roll_.secondsAt(note.start)), timeText(seconds));
}

void SongView::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.fillRect(rect(), palette().color(QPalette::Base));
  if (!roll_.tempi()) return paintNotice(painter, palette(), rect(), tr("Select a song or a track"));
  painter.setFont(labelFont(font()));
  paintKeys(painter);
  paintRulers(painter);
  paintNotes(painter);
  paintMarks(painter);
  if (place_ > 0) paintTimeLine(painter, place_, QPen(palette().color(QPalette::Text), 1));
  if (playPosition_) paintTimeLine(painter, *playPosition_, QPen(QColor(0xd0, 0x30, 0x30), 2));
  if (!mouse_) return;
  if (const RollNote* note = noteAt(*mouse_)) paintBubble(painter, palette(), rollArea(), *mouse_, describe(*note));
}

}  // namespace tervo::ui
