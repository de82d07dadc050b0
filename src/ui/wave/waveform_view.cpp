#include "ui/wave/waveform_view.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <algorithm>
#include <cmath>

#include "core/labels.h"
#include "core/parameter_access.h"
#include "ui/document_session.h"
#include "ui/qt_text.h"
#include "ui/wave/wave_painter.h"

namespace tervo::ui {
namespace {

constexpr double gripPixels = 5;
constexpr int handleHeight = 12;
constexpr double zoomStep = 1.25;

QColor colourOf(const Marker& marker, bool isMainLoop) {
  if (marker.type == MarkerType::loop) return isMainLoop ? QColor(0x2e, 0x9e, 0x4f) : QColor(0xc0, 0x7a, 0x1e);
  return marker.type == MarkerType::section ? QColor(0x7a, 0x5a, 0xc8) : QColor(0xc8, 0x3c, 0x5a);
}

}  // namespace

WaveformView::WaveformView(DocumentSession& session, QWidget* parent) : QWidget(parent), session_(session) {
  setFocusPolicy(Qt::StrongFocus);
  setMouseTracking(true);
  setMinimumSize(200, 80);
  setAccessibleName(tr("Waveform"));
  // From the reading thread: the picture is drawn anew by this one.
  connect(&peaks_, &PeakCache::grown, this, qOverload<>(&QWidget::update), Qt::QueuedConnection);
}

void WaveformView::setWaveform(ItemId id) {
  const bool isOther = id != waveform_;
  waveform_ = id;
  const Waveform* now = waveform();
  const bool hasOtherFrames = peaks_.samples() != (now ? now->samples : SampleRef());
  peaks_.setSamples(now ? now->samples : nullptr);
  if (isOther || hasOtherFrames) {
    selection_ = {};
    cursor_ = 0;
    chosenMarker_ = -1;
    showAll();
    Q_EMIT selectionChanged();
  }
  if (now && chosenMarker_ >= static_cast<int>(now->markers.size())) chooseMarker(-1);
  update();
}

double WaveformView::frameAt(double x) const {
  return std::clamp(scale_.frameAt(x), 0.0, frames());
}

void WaveformView::setScale(const WaveScale& scale) {
  scale_ = scale.within(frames(), width());
  Q_EMIT scaleChanged();
  update();
}

void WaveformView::zoomAt(double factor, double x) {
  setScale(scale_.zoomed(factor, x, frames(), width()));
}

void WaveformView::showAll() {
  setScale(WaveScale::whole(frames(), width()));
}

void WaveformView::showSelection() {
  if (selection_.isEmpty()) return showAll();
  const double margin = (selection_.end - selection_.start) * 0.05;
  WaveScale scale = WaveScale::whole(selection_.end - selection_.start + 2 * margin, width());
  scale.first = selection_.start - margin;
  setScale(scale);
}

void WaveformView::showFrame(double frame) {
  const double x = scale_.xOf(frame);
  if (x >= 0 && x < width()) return;
  WaveScale scale = scale_;
  scale.first = frame - width() * scale.framesPerPixel / 2;
  setScale(scale);
}

void WaveformView::select(double start, double end) {
  selection_ = {std::clamp(std::min(start, end), 0.0, frames()), std::clamp(std::max(start, end), 0.0, frames())};
  Q_EMIT selectionChanged();
  update();
}

void WaveformView::setPlayPosition(std::optional<double> frame) {
  if (playPosition_ == frame) return;
  playPosition_ = frame;
  update();
  if (!frame || !session_.settings().viz.trackInEditor) return;
  const double x = scale_.xOf(*frame);
  if (x < 0 || x > width()) setScale({*frame, scale_.framesPerPixel});
}

void WaveformView::chooseMarker(int index) {
  if (index == chosenMarker_) return;
  chosenMarker_ = index;
  Q_EMIT markerChosen(index);
  update();
}

void WaveformView::moveMarkerEnd(int index, bool isEnd, double frame) {
  auto* edited = findItem<Waveform>(waveform_);
  if (!edited || index < 0 || index >= static_cast<int>(edited->markers.size())) return;
  const ParameterId row = isEnd ? ParameterId::markerEnd : ParameterId::markerStart;
  frame = std::clamp(frame, 0.0, frames());
  session_.history().editMarkers(waveform_,
                                 [&] { setMarkerValue(edited->markers[static_cast<std::size_t>(index)], row, frame); },
                                 {gesture_, row});
  session_.announceChange();
}

std::optional<WaveformView::Grip> WaveformView::gripAt(const QPointF& point) const {
  const Waveform* now = waveform();
  if (!now) return std::nullopt;
  std::optional<Grip> best;
  double nearest = gripPixels;
  for (int i = 0; i < static_cast<int>(now->markers.size()); ++i) {
    const Marker& marker = now->markers[static_cast<std::size_t>(i)];
    // The chosen marker goes before others at the same place.
    const double handicap = i == chosenMarker_ ? 0.5 : 0;
    for (const bool isEnd : {false, true}) {
      if (isEnd && marker.type == MarkerType::position) continue;
      const double distance = std::abs(scale_.xOf(isEnd ? marker.end : marker.start) - point.x()) - handicap;
      if (distance > nearest) continue;
      nearest = distance;
      best = Grip{i, isEnd};
    }
  }
  return best;
}

void WaveformView::mousePressEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton || !waveform()) return;
  gesture_ = newGesture();
  dragged_ = gripAt(event->position());
  if (dragged_) return chooseMarker(dragged_->marker);
  isSelecting_ = true;
  const bool extends = event->modifiers() & Qt::ShiftModifier;
  if (!extends) anchor_ = frameAt(event->position().x());
  moveCursor(frameAt(event->position().x()), extends);
}

void WaveformView::mouseMoveEvent(QMouseEvent* event) {
  const double frame = frameAt(event->position().x());
  if (dragged_) return moveMarkerEnd(dragged_->marker, dragged_->isEnd, std::round(frame));
  if (isSelecting_) return moveCursor(frame, true);
  setCursor(gripAt(event->position()) ? Qt::SizeHorCursor : Qt::IBeamCursor);
}

void WaveformView::mouseReleaseEvent(QMouseEvent*) {
  dragged_.reset();
  isSelecting_ = false;
}

void WaveformView::mouseDoubleClickEvent(QMouseEvent* event) {
  const Waveform* now = waveform();
  if (!now) return;
  // What is between the nearest marker ends, or all.
  const double frame = frameAt(event->position().x());
  double start = 0, end = frames();
  for (const Marker& marker : now->markers) {
    for (const double edge : {marker.start, marker.type == MarkerType::position ? marker.start : marker.end}) {
      if (edge <= frame) start = std::max(start, edge);
      if (edge > frame) end = std::min(end, edge);
    }
  }
  isSelecting_ = false;
  select(start, end);
}

void WaveformView::wheelEvent(QWheelEvent* event) {
  const double turns = event->angleDelta().y() / 120.0, sideways = event->angleDelta().x() / 120.0;
  if (event->modifiers() & Qt::ControlModifier) return zoomAt(std::pow(zoomStep, -turns), event->position().x());
  WaveScale scale = scale_;
  scale.first -= (turns + sideways) * width() / 10 * scale.framesPerPixel;
  setScale(scale);
}

void WaveformView::moveCursor(double frame, bool selects) {
  cursor_ = std::clamp(frame, 0.0, frames());
  if (!selects) anchor_ = cursor_;
  select(anchor_, cursor_);
}

bool WaveformView::nudgeMarker(QKeyEvent& event) {
  const Waveform* now = waveform();
  if (chosenMarker_ < 0 || !(event.modifiers() & Qt::AltModifier)) return false;
  if (event.key() != Qt::Key_Left && event.key() != Qt::Key_Right) return false;
  if (!event.isAutoRepeat()) gesture_ = newGesture();
  const bool isEnd = event.modifiers() & Qt::ShiftModifier;
  const Marker& marker = now->markers[static_cast<std::size_t>(chosenMarker_)];
  const double step = event.key() == Qt::Key_Left ? -1 : 1;
  moveMarkerEnd(chosenMarker_, isEnd, (isEnd ? marker.end : marker.start) + step);
  return true;
}

void WaveformView::keyPressEvent(QKeyEvent* event) {
  if (!waveform() || nudgeMarker(*event)) return;
  const bool selects = event->modifiers() & Qt::ShiftModifier;
  const bool isFar = event->modifiers() & Qt::ControlModifier;
  const double step = std::max(scale_.framesPerPixel * (isFar ? 50 : 5), 1.0);
  switch (event->key()) {
    case Qt::Key_Left:
      moveCursor(std::round(cursor_ - step), selects);
      break;
    case Qt::Key_Right:
      moveCursor(std::round(cursor_ + step), selects);
      break;
    case Qt::Key_Home:
      moveCursor(0, selects);
      break;
    case Qt::Key_End:
      moveCursor(frames(), selects);
      break;
    case Qt::Key_Plus:
    case Qt::Key_Equal:
      return zoomAt(1 / zoomStep, scale_.xOf(cursor_));
    case Qt::Key_Minus:
      return zoomAt(zoomStep, scale_.xOf(cursor_));
    case Qt::Key_A:
      if (isFar) return select(0, frames());
      [[fallthrough]];
    default:
      return QWidget::keyPressEvent(event);
  }
  showFrame(cursor_);
}

void WaveformView::resizeEvent(QResizeEvent* event) {
  const bool showedAll = event->oldSize().width() <= 0 ||
                         scale_.framesPerPixel >= WaveScale::whole(frames(), event->oldSize().width()).framesPerPixel;
  showedAll ? showAll() : setScale(scale_);
}

void WaveformView::paintChannels(QPainter& painter) const {
  const Settings::Viz& viz = session_.settings().viz;
  const int channels = waveform()->channels();
  // One above the other, or both in the same place.
  const bool isSplit = viz.waveDispSplit || viz.channels;
  const double height = isSplit ? this->height() / static_cast<double>(channels) : this->height();
  for (int channel = 0; channel < channels; ++channel) {
    const QRectF area(0, isSplit ? channel * height : 0, width(), height);
    painter.setPen(QPen(palette().color(QPalette::Mid), 0));
    painter.drawLine(QPointF(0, area.center().y()), QPointF(width(), area.center().y()));
    QColor colour = palette().color(QPalette::Active, QPalette::Highlight);
    if (channel == 1 && !isSplit)
      colour = QColor::fromHsv((colour.hue() + 150) % 360, colour.saturation(), colour.value());
    if (channels == 2 && !isSplit) colour.setAlpha(170);
    painter.setPen(QPen(colour, 0));
    paintWave(painter, area, peaks_, channel, scale_, viz.waveDispFill ? WaveStyle::filled : WaveStyle::outline);
  }
}

void WaveformView::paintSelection(QPainter& painter) const {
  QColor colour = palette().color(QPalette::Text);
  colour.setAlpha(40);
  const double left = scale_.xOf(selection_.start), right = scale_.xOf(selection_.end);
  if (!selection_.isEmpty()) painter.fillRect(QRectF(left, 0, right - left, height()), colour);
  painter.setPen(QPen(palette().color(QPalette::Text), 0));
  painter.drawLine(QPointF(scale_.xOf(cursor_), 0), QPointF(scale_.xOf(cursor_), height()));
  if (!playPosition_) return;
  painter.setPen(QPen(QColor(0xd0, 0x30, 0x30), 2));
  painter.drawLine(QPointF(scale_.xOf(*playPosition_), 0), QPointF(scale_.xOf(*playPosition_), height()));
}

void WaveformView::paintMarkers(QPainter& painter) const {
  const Waveform& now = *waveform();
  const Marker* main = mainLoop(now);
  for (int i = 0; i < static_cast<int>(now.markers.size()); ++i) {
    const Marker& marker = now.markers[static_cast<std::size_t>(i)];
    QColor colour = colourOf(marker, &marker == main);
    const double left = scale_.xOf(marker.start);
    const double right = marker.type == MarkerType::position ? left : scale_.xOf(marker.end);
    if (right < 0 || left > width()) continue;
    painter.setPen(QPen(colour, i == chosenMarker_ ? 2 : 1));
    painter.drawLine(QPointF(left, 0), QPointF(left, height()));
    if (marker.type != MarkerType::position) painter.drawLine(QPointF(right, 0), QPointF(right, height()));
    colour.setAlpha(i == chosenMarker_ ? 200 : 130);
    painter.fillRect(QRectF(left, 0, std::max(right - left, 4.0), handleHeight), colour);
    painter.setPen(palette().color(QPalette::Text));
    painter.drawText(QPointF(std::max(left, 0.0) + 4, 2 * handleHeight), qt(markerLabel(now, marker)));
  }
}

void WaveformView::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.fillRect(rect(), palette().color(QPalette::Base));
  if (!waveform() || !waveform()->samples) {
    painter.setPen(palette().color(QPalette::PlaceholderText));
    painter.drawText(rect(), Qt::AlignCenter, tr("Select a waveform"));
    return;
  }
  paintChannels(painter);
  paintSelection(painter);
  paintMarkers(painter);
}

}  // namespace tervo::ui
