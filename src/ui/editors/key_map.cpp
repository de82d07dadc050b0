#include "ui/editors/key_map.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <algorithm>
#include <cmath>

#include "core/parameter_access.h"
#include "core/parameter_lists.h"
#include "ui/document_session.h"
#include "ui/editors/graph_paint.h"
#include "ui/piano_keys.h"
#include "ui/qt_text.h"

namespace tervo::ui {
namespace {

constexpr int keysHeight = 26;

QColor colourOfLayer(const QPalette& palette, int layer) {
  const QColor first = palette.color(QPalette::Active, QPalette::Highlight);
  return QColor::fromHsv((std::max(first.hue(), 0) + layer * 67) % 360, std::max(first.saturation(), 140),
                         std::max(first.value(), 170));
}

}  // namespace

KeyMap::KeyMap(DocumentSession& session, QWidget* parent) : QWidget(parent), session_(session) {
  setFocusPolicy(Qt::StrongFocus);
  setMouseTracking(true);
  setMinimumSize(200, 110);
  setAccessibleName(tr("Key and velocity map"));
}

MapScale KeyMap::scale() const {
  return MapScale(QRectF(rect()).adjusted(34, 8, -8, -keysHeight - 6));
}

void KeyMap::setItems(const std::vector<ItemId>& items) {
  items_ = items;
  refresh();
}

void KeyMap::refresh() {
  std::vector<ItemId> scope;
  chosen_.clear();
  for (const ItemId id : items_) {
    const Layer* layer = containing<Layer>(id);
    if (layer && (scope.empty() || scope.back() != layer->id())) scope.push_back(layer->id());
    if (findItem<Region>(id)) chosen_.push_back(id);
  }
  const Instrument* instrument = items_.empty() ? nullptr : containingInstrument(items_.front());
  regions_ = instrument ? mapRegions(*instrument, scope) : std::vector<MapRegion>();
  places_.clear();
  for (std::size_t i = 0; i < regions_.size(); ++i) places_[regions_[i].id] = i;
  std::erase_if(chosen_, [this](ItemId id) { return !find(id); });
  isChosen_ = {chosen_.begin(), chosen_.end()};
  update();
}

void KeyMap::showKey(int key, bool isDown) {
  if (key < 0 || key > 127) return;
  down_[static_cast<std::size_t>(key)] = isDown;
  update();
}

const MapRegion* KeyMap::find(ItemId id) const {
  const auto found = places_.find(id);
  return found == places_.end() ? nullptr : &regions_[found->second];
}

std::vector<MapRegion> KeyMap::chosenOnMap() const {
  std::vector<MapRegion> found;
  for (const MapRegion& region : regions_) {
    if (isChosen(region.id)) found.push_back(region);
  }
  return found;
}

void KeyMap::choose(std::vector<ItemId> regions) {
  // Without any region the map would have no instrument to show.
  if (regions.empty() || regions == chosen_) return;
  setItems(regions);
  Q_EMIT regionsChosen(regions);
}

void KeyMap::press(std::size_t index, const QPointF& point, bool adds) {
  const ItemId id = regions_[index].id;
  auto wanted = chosen_;
  if (adds && isChosen(id)) {
    std::erase(wanted, id);
    return choose(std::move(wanted));
  }
  if (adds) wanted.push_back(id);
  if (!adds && !isChosen(id)) wanted = {id};
  choose(std::move(wanted));
  drag_ = Drag::regions;
  grip_ = gripOf(scale().rectOf(regions_[index]), point);
  before_ = chosenOnMap();
  gesture_ = newGesture();
  told_ = id;
}

void KeyMap::mousePressEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) return;
  pressed_ = now_ = event->position();
  const auto under = regionsAt(regions_, scale(), pressed_);
  const bool adds = event->modifiers() & Qt::ControlModifier;
  if (under.empty()) {
    drag_ = Drag::frame;
    return;
  }
  // What is chosen is taken hold of first; pressed once more without moving, the next one below has its turn.
  const auto held =
      std::find_if(under.begin(), under.end(), [this](std::size_t i) { return isChosen(regions_[i].id); });
  press(held != under.end() && !adds ? *held : under.front(), pressed_, adds);
}

void KeyMap::mouseMoveEvent(QMouseEvent* event) {
  now_ = event->position();
  if (drag_ == Drag::none) return showCursor(now_);
  if (drag_ == Drag::frame) return update();
  const MapScale now = scale();
  int keys = static_cast<int>(std::lround(now.keyAt(now_.x()) - now.keyAt(pressed_.x())));
  int velocities = static_cast<int>(std::lround(now.velocityAt(now_.y()) - now.velocityAt(pressed_.y())));
  // A whole region goes sideways or up and down, whichever is farther: most people mean only one of them.
  if (!grip_.isEdge()) {
    const QPointF way = now_ - pressed_;
    (std::abs(way.x()) >= std::abs(way.y()) ? velocities : keys) = 0;
  }
  move(grip_, keys, velocities);
}

void KeyMap::mouseReleaseEvent(QMouseEvent* event) {
  const Drag ended = std::exchange(drag_, Drag::none);
  if (ended == Drag::frame) return chooseFrame();
  const bool stayed = (event->position() - pressed_).manhattanLength() < 3;
  if (ended != Drag::regions || !stayed || event->modifiers() & Qt::ControlModifier) return update();
  const auto under = regionsAt(regions_, scale(), event->position());
  const auto held = std::find_if(under.begin(), under.end(), [this](std::size_t i) { return regions_[i].id == told_; });
  const bool wasChosen = before_.size() == 1 && held != under.end() && told_ == lastPressed_;
  lastPressed_ = told_;
  if (!wasChosen) return choose({told_});
  const auto next = held + 1 == under.end() ? under.begin() : held + 1;
  lastPressed_ = told_ = regions_[*next].id;
  choose({told_});
}

void KeyMap::chooseFrame() {
  const QRectF frame = QRectF(pressed_, now_).normalized();
  std::vector<ItemId> inside;
  for (const MapRegion& region : regions_) {
    if (frame.width() > 2 && region.isInScope && scale().rectOf(region).intersects(frame)) inside.push_back(region.id);
  }
  if (!inside.empty()) choose(std::move(inside));
  update();
}

void KeyMap::leaveEvent(QEvent*) {
  told_ = noItem;
  update();
}

void KeyMap::showCursor(const QPointF& point) {
  const auto under = regionsAt(regions_, scale(), point);
  told_ = under.empty() ? noItem : regions_[under.front()].id;
  const MapGrip grip = under.empty() ? MapGrip() : gripOf(scale().rectOf(regions_[under.front()]), point);
  if (grip.left || grip.right)
    setCursor(Qt::SizeHorCursor);
  else if (grip.top || grip.bottom)
    setCursor(Qt::SizeVerCursor);
  else
    setCursor(under.empty() ? Qt::ArrowCursor : Qt::SizeAllCursor);
  update();
}

void KeyMap::move(const MapGrip& grip, int keys, int velocities) {
  if (before_.empty()) return;
  if (!grip.isEdge()) keepInside(before_, keys, velocities);
  using P = ParameterId;
  const auto change = [&] {
    for (const MapRegion& region : before_) {
      const MapRegion now = dragged(region, grip, keys, velocities);
      const MapRegion* shown = find(region.id);
      const auto set = [&](P row, uint8_t value, uint8_t shownValue) {
        if (value != shownValue) setParameterValue(region.id, row, value);
      };
      if (!shown) continue;
      set(P::triggerLowKey, now.keys.low, shown->keys.low);
      set(P::triggerHighKey, now.keys.high, shown->keys.high);
      set(P::triggerLowVelocity, now.velocities.low, shown->velocities.low);
      set(P::triggerHighVelocity, now.velocities.high, shown->velocities.high);
    }
  };
  const auto moves = [&](const MapRegion& region) {
    const MapRegion now = dragged(region, grip, keys, velocities);
    const MapRegion* shown = find(region.id);
    return shown && (now.keys != shown->keys || now.velocities != shown->velocities);
  };
  if (std::none_of(before_.begin(), before_.end(), moves)) return;
  std::vector<ItemId> ids;
  for (const MapRegion& region : before_) ids.push_back(region.id);
  session_.edit(ids, tr("Move regions"), change, {gesture_, P::triggerLowKey});
  refresh();
}

void KeyMap::chooseNext(int step) {
  std::vector<const MapRegion*> order;
  for (const MapRegion& region : regions_) {
    if (region.isInScope) order.push_back(&region);
  }
  if (order.empty()) return;
  const auto at =
      std::find_if(order.begin(), order.end(), [this](const MapRegion* each) { return isChosen(each->id); });
  const auto count = static_cast<std::ptrdiff_t>(order.size());
  const std::ptrdiff_t now = at == order.end() ? (step > 0 ? -1 : count) : at - order.begin();
  const MapRegion& next = *order[static_cast<std::size_t>(std::clamp<std::ptrdiff_t>(now + step, 0, count - 1))];
  setAccessibleDescription(describe(next));
  choose({next.id});
}

void KeyMap::keyPressEvent(QKeyEvent* event) {
  if (event->key() == Qt::Key_PageUp) return chooseNext(-1);
  if (event->key() == Qt::Key_PageDown) return chooseNext(1);
  const int keys = event->key() == Qt::Key_Right ? 1 : event->key() == Qt::Key_Left ? -1 : 0;
  const int velocities = event->key() == Qt::Key_Up ? 1 : event->key() == Qt::Key_Down ? -1 : 0;
  if ((keys == 0 && velocities == 0) || chosen_.empty()) return QWidget::keyPressEvent(event);
  if (!event->isAutoRepeat()) gesture_ = newGesture();
  const bool upper = event->modifiers() & Qt::ShiftModifier, lower = event->modifiers() & Qt::ControlModifier;
  before_ = chosenOnMap();
  told_ = chosen_.front();
  if (!before_.empty()) now_ = scale().rectOf(before_.front()).center();
  move({lower, upper, upper, lower}, keys, velocities);
}

QString KeyMap::describe(const MapRegion& region) const {
  const MiddleC middleC = session_.settings().app.midIsNamedC3 ? MiddleC::c3 : MiddleC::c4;
  const auto* item = findItem<Region>(region.id);
  const Waveform* waveform = item ? findItem<Waveform>(item->waveform) : nullptr;
  return tr("%1\nkeys %2 to %3, velocity %4 to %5, root %6")
      .arg(waveform ? qt(waveform->name) : tr("(no waveform)"), qt(keyName(region.keys.low, middleC)),
           qt(keyName(region.keys.high, middleC)))
      .arg(region.velocities.low)
      .arg(region.velocities.high)
      .arg(item ? qt(keyName(rootKeyOf(*item), middleC)) : QString());
}

void KeyMap::paintGrid(QPainter& painter, const MapScale& scale) const {
  const QRectF& area = scale.area();
  painter.setFont(labelFont(font()));
  for (int key = 0; key < 128; ++key) {
    const QRectF column(scale.xOf(key), area.top(), scale.xOf(key + 1) - scale.xOf(key), area.height());
    if (isBlackKey(key)) painter.fillRect(column, tone(palette(), 0.04));
    painter.setPen(QPen(gridColour(palette()), 0));
    if (key % 12 == 0) painter.drawLine(column.topLeft(), column.bottomLeft());
  }
  for (const int velocity : {0, 32, 64, 96, 127}) {
    const double y = scale.yOf(velocity == 127 ? 128 : velocity);
    painter.setPen(QPen(gridColour(palette()), 0));
    painter.drawLine(QPointF(area.left(), y), QPointF(area.right(), y));
    painter.setPen(labelColour(palette()));
    painter.drawText(QRectF(0, y - 8, area.left() - 6, 16), Qt::AlignRight | Qt::AlignVCenter,
                     QString::number(velocity));
  }
}

void KeyMap::paintRegion(QPainter& painter, const MapScale& scale, const MapRegion& region) const {
  const QRectF box = scale.rectOf(region).adjusted(0.5, 0.5, -0.5, -0.5);
  const QColor colour = region.isInScope ? colourOfLayer(palette(), region.layer) : tone(palette(), 0.4);
  const bool isBold = isChosen(region.id);
  painter.setPen(QPen(withAlpha(colour, isBold || region.isInScope ? 255 : 110), isBold ? 2 : 1));
  painter.setBrush(withAlpha(colour, isBold ? 130 : region.isInScope ? 45 : 12));
  painter.drawRect(box);
  if (!region.isInScope || box.width() < 46 || box.height() < 18) return;
  const auto* item = findItem<Region>(region.id);
  const Waveform* waveform = item ? findItem<Waveform>(item->waveform) : nullptr;
  if (!waveform) return;
  painter.setPen(palette().color(QPalette::Text));
  const QString name = painter.fontMetrics().elidedText(qt(waveform->name), Qt::ElideRight, int(box.width()) - 8);
  painter.drawText(box.adjusted(4, 2, -4, -2), Qt::AlignLeft | Qt::AlignTop, name);
}

void KeyMap::paintKeys(QPainter& painter, const MapScale& scale) const {
  const double top = scale.area().bottom() + 3, width = scale.xOf(1) - scale.xOf(0);
  const MiddleC middleC = session_.settings().app.midIsNamedC3 ? MiddleC::c3 : MiddleC::c4;
  for (int key = 0; key < 128; ++key) {
    const bool isDown = down_[static_cast<std::size_t>(key)];
    QColor colour = isBlackKey(key) ? QColor(0x30, 0x30, 0x30) : QColor(0xf4, 0xf4, 0xf0);
    if (isDown) colour = palette().color(QPalette::Active, QPalette::Highlight);
    const QRectF box(scale.xOf(key), top, width, isBlackKey(key) ? keysHeight * 0.4 : keysHeight * 0.5);
    painter.fillRect(box, colour);
    if (isDown)
      painter.fillRect(QRectF(box.left(), scale.area().top(), width, scale.area().height()), withAlpha(colour, 60));
    painter.setPen(QPen(QColor(0x80, 0x80, 0x80), 0));
    if (!isBlackKey(key)) painter.drawRect(box);
    if (key % 12 != 0) continue;
    painter.setPen(labelColour(palette()));
    painter.drawText(QRectF(box.left() - 20, top + keysHeight * 0.5, 40 + width, 14), Qt::AlignCenter,
                     qt(keyName(key, middleC)));
  }
}

void KeyMap::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.fillRect(rect(), palette().color(QPalette::Base));
  if (regions_.empty()) return paintNotice(painter, palette(), rect(), tr("Select an instrument with regions"));
  const MapScale now = scale();
  paintGrid(painter, now);
  for (const bool inScope : {false, true}) {
    for (const MapRegion& region : regions_) {
      if (region.isInScope == inScope && !isChosen(region.id)) paintRegion(painter, now, region);
    }
  }
  for (const MapRegion& region : chosenOnMap()) paintRegion(painter, now, region);
  paintKeys(painter, now);
  if (hasFocus()) {
    painter.setPen(QPen(withAlpha(palette().color(QPalette::Active, QPalette::Highlight), 140), 1));
    painter.setBrush(Qt::NoBrush);
    painter.drawRect(now.area());
  }
  if (drag_ == Drag::frame) {
    painter.setPen(QPen(palette().color(QPalette::Active, QPalette::Highlight), 1, Qt::DashLine));
    painter.drawRect(QRectF(pressed_, now_).normalized());
  }
  if (const MapRegion* region = find(told_)) paintBubble(painter, palette(), rect(), now_, describe(*region));
}

}  // namespace tervo::ui
