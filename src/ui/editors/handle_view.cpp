#include "ui/editors/handle_view.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <algorithm>
#include <cmath>

#include "ui/editors/graph_paint.h"
#include "ui/property_model.h"
#include "ui/property_rows.h"

namespace tervo::ui {
namespace {

constexpr double handleRadius = 5, reach = 11;
// More curves than these are a blot.
constexpr std::size_t mostCurves = 24;

}  // namespace

HandleView::HandleView(DocumentSession& session, PropertyModel& model, QWidget* parent)
    : QWidget(parent), session_(session), model_(model) {
  setFocusPolicy(Qt::StrongFocus);
  setMouseTracking(true);
  setMinimumSize(160, 90);
}

void HandleView::refresh() {
  shown_.clear();
  for (const ItemId id : model_.items()) {
    if (findItem(id) && hasRow(kindOf(id), keyRow())) shown_.push_back(id);
  }
  if (!isDragging_) chooseScale();
  if (chosen_ >= static_cast<int>(handles().size())) chooseHandle(-1);
  update();
}

double HandleView::valueOf(ParameterId row) const {
  return effectiveNumber(shown_.empty() ? noItem : shown_.front(), row);
}

QString HandleView::shownValue(ParameterId row) const {
  return shownNumber(row, valueOf(row), session_.settings());
}

bool HandleView::isAvailable(ParameterId row) const {
  return model_.flags(model_.indexOf(row)) & Qt::ItemIsEnabled;
}

bool HandleView::isAvailable(const Handle& handle) const {
  return (handle.across && isAvailable(*handle.across)) || (handle.upright && isAvailable(*handle.upright));
}

void HandleView::chooseHandle(int index) {
  if (index == chosen_) return;
  isDragging_ = false;
  chosen_ = index;
  const auto all = handles();
  if (index >= 0 && index < static_cast<int>(all.size()))
    setAccessibleDescription(readout(all[static_cast<std::size_t>(index)]));
  update();
}

int HandleView::handleAt(const QPointF& point) const {
  const auto all = handles();
  int best = -1;
  double nearest = reach;
  for (int i = 0; i < static_cast<int>(all.size()); ++i) {
    const QPointF away = all[static_cast<std::size_t>(i)].place - point;
    // The chosen point goes before others at the same place.
    const double distance = std::hypot(away.x(), away.y()) - (i == chosen_ ? 0.5 : 0);
    if (distance >= nearest || !isAvailable(all[static_cast<std::size_t>(i)])) continue;
    nearest = distance;
    best = i;
  }
  return best;
}

bool HandleView::event(QEvent* event) {
  // Before the window's own shortcuts: Delete would delete the item.
  if (event->type() == QEvent::ShortcutOverride && chosen_ >= 0) {
    if (static_cast<QKeyEvent*>(event)->key() == Qt::Key_Delete) event->accept();
  }
  return QWidget::event(event);
}

bool HandleView::focusNextPrevChild(bool next) {
  const int count = shownItems().empty() ? 0 : static_cast<int>(handles().size());
  const int to = chosen_ + (next ? 1 : -1);
  if (to < 0 || to >= count) return QWidget::focusNextPrevChild(next);
  chooseHandle(to);
  return true;
}

void HandleView::focusInEvent(QFocusEvent* event) {
  const int count = shownItems().empty() ? 0 : static_cast<int>(handles().size());
  if (event->reason() == Qt::TabFocusReason) chooseHandle(count > 0 ? 0 : -1);
  if (event->reason() == Qt::BacktabFocusReason) chooseHandle(count - 1);
  QWidget::focusInEvent(event);
}

void HandleView::focusOutEvent(QFocusEvent* event) {
  // Another window or a menu gives the focus back.
  if (event->reason() == Qt::TabFocusReason || event->reason() == Qt::BacktabFocusReason) chooseHandle(-1);
  QWidget::focusOutEvent(event);
}

void HandleView::step(std::optional<ParameterId> row, double steps, bool startsGesture) {
  if (!row || !isAvailable(*row) || shownItems().empty()) return;
  if (startsGesture) gesture_ = newGesture();
  model_.stepBy(*row, steps, gesture_);
}

void HandleView::resetChosen() {
  const auto all = handles();
  if (chosen_ < 0 || chosen_ >= static_cast<int>(all.size())) return;
  const Handle handle = all[static_cast<std::size_t>(chosen_)];
  std::vector<ParameterId> rows;
  for (const auto& row : {handle.across, handle.upright, handle.depth}) {
    if (row && isAvailable(*row)) rows.push_back(*row);
  }
  if (!rows.empty()) model_.resetToDefault(rows);
}

void HandleView::keyPressEvent(QKeyEvent* event) {
  const auto all = handles();
  if (chosen_ < 0 || chosen_ >= static_cast<int>(all.size()) || shownItems().empty())
    return QWidget::keyPressEvent(event);
  const Handle handle = all[static_cast<std::size_t>(chosen_)];
  const double steps = event->modifiers() & Qt::ShiftModifier ? 10 : 1;
  const bool starts = !event->isAutoRepeat();
  switch (event->key()) {
    case Qt::Key_Right:
      return step(handle.across, steps, starts);
    case Qt::Key_Left:
      return step(handle.across, -steps, starts);
    case Qt::Key_Up:
      return step(handle.upright, steps, starts);
    case Qt::Key_Down:
      return step(handle.upright, -steps, starts);
    case Qt::Key_PageUp:
      return step(handle.depth, steps, starts);
    case Qt::Key_PageDown:
      return step(handle.depth, -steps, starts);
    case Qt::Key_Delete:
      return resetChosen();
    case Qt::Key_Escape:
      return chooseHandle(-1);
    default:
      QWidget::keyPressEvent(event);
  }
}

void HandleView::mousePressEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton || shownItems().empty()) return;
  chooseHandle(handleAt(event->position()));
  if (chosen_ < 0) return;
  isDragging_ = true;
  gesture_ = newGesture();
  grip_ = handles()[static_cast<std::size_t>(chosen_)].place - event->position();
}

void HandleView::mouseMoveEvent(QMouseEvent* event) {
  if (isDragging_) {
    auto values = valuesAt(chosen_, event->position() + grip_);
    std::erase_if(values, [this](const RowValue& value) { return !isAvailable(value.first); });
    if (!values.empty()) model_.setNumbers(values, handles()[static_cast<std::size_t>(chosen_)].name, gesture_);
    return;
  }
  const int hovered = shownItems().empty() ? -1 : handleAt(event->position());
  if (hovered == hovered_) return;
  hovered_ = hovered;
  setCursor(hovered >= 0 ? Qt::PointingHandCursor : Qt::ArrowCursor);
  update();
}

void HandleView::mouseReleaseEvent(QMouseEvent*) {
  if (!isDragging_) return;
  isDragging_ = false;
  refresh();
}

void HandleView::mouseDoubleClickEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton || shownItems().empty()) return;
  chooseHandle(handleAt(event->position()));
  resetChosen();
}

void HandleView::wheelEvent(QWheelEvent* event) {
  const int index = handleAt(event->position());
  if (index < 0 || shownItems().empty()) return event->ignore();
  chooseHandle(index);
  step(handles()[static_cast<std::size_t>(index)].depth, event->angleDelta().y() / 120.0, true);
  event->accept();
}

void HandleView::resizeEvent(QResizeEvent*) {
  chooseScale();
}

void HandleView::leaveEvent(QEvent*) {
  hovered_ = -1;
  update();
}

QString HandleView::readout(const Handle& handle) const {
  QStringList parts;
  for (const auto& row : {handle.across, handle.upright, handle.depth}) {
    if (row) parts.push_back(shownValue(*row));
  }
  if (!handle.note.isEmpty()) parts.push_back(handle.note);
  return handle.name + QStringLiteral(": ") + parts.join(QStringLiteral(", "));
}

void HandleView::paintHandles(QPainter& painter) const {
  const auto all = handles();
  const int told = isDragging_ || hovered_ < 0 ? chosen_ : hovered_;
  painter.setRenderHint(QPainter::Antialiasing);
  for (int i = 0; i < static_cast<int>(all.size()); ++i) {
    const Handle& handle = all[static_cast<std::size_t>(i)];
    const bool isChosen = i == chosen_;
    const QColor colour = isAvailable(handle) ? palette().color(QPalette::Active, QPalette::Highlight)
                                              : palette().color(QPalette::Disabled, QPalette::Text);
    if (isChosen && hasFocus()) {
      painter.setPen(Qt::NoPen);
      painter.setBrush(withAlpha(colour, 70));
      painter.drawEllipse(handle.place, handleRadius + 5, handleRadius + 5);
    }
    painter.setPen(QPen(colour, 2));
    painter.setBrush(isChosen ? colour : palette().color(QPalette::Base));
    const double radius = i == hovered_ ? handleRadius + 1 : handleRadius;
    painter.drawEllipse(handle.place, radius, radius);
  }
  if (told < 0 || told >= static_cast<int>(all.size())) return;
  const Handle& handle = all[static_cast<std::size_t>(told)];
  paintBubble(painter, palette(), QRectF(rect()).adjusted(2, 2, -2, -2), handle.place, readout(handle));
}

void HandleView::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.fillRect(rect(), palette().color(QPalette::Base));
  const auto& items = shownItems();
  if (items.empty()) return paintNotice(painter, palette(), rect(), tr("Select an instrument, a layer or regions"));
  paintGrid(painter);
  painter.setRenderHint(QPainter::Antialiasing);
  for (std::size_t i = 1; i < std::min(items.size(), mostCurves); ++i)
    paintCurve(painter, items[i], withAlpha(palette().color(QPalette::Text), 60));
  paintCurve(painter, items.front(), palette().color(QPalette::Active, QPalette::Highlight));
  paintHandles(painter);
}

}  // namespace tervo::ui
