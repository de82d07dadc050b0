#include "ui/sound/keyboard_view.h"

#include <QKeyEvent>
#include <QPainter>
#include <algorithm>

#include "core/parameter_lists.h"
#include "ui/piano_keys.h"
#include "ui/qt_text.h"
#include "ui/sound/key_positions.h"
#include "ui/sound/player.h"

namespace tervo::ui {
namespace {

constexpr int lowestKey = 0, highestKey = 127, whiteKeys = 75;
constexpr int keyVelocity = 100;
constexpr double blackHeight = 0.62, blackWidth = 0.6;

/// How many white keys lie before it.
int whitesBefore(int key) {
  constexpr int before[] = {0, 1, 1, 2, 2, 3, 4, 4, 5, 5, 6, 6};
  return key / 12 * 7 + before[key % 12];
}

/// The virtual-key code that a US keyboard has where the key stands; where nobody tells its place, that of the
/// character.
uint8_t placeOf(const QKeyEvent& event) {
  char character = usCharacterAt(event.nativeScanCode());
  if (character == 0 && event.key() < 128) character = static_cast<char>(event.key());
  return virtualKeyCodes(std::string_view(&character, 1))[0];
}

}  // namespace

KeyboardView::KeyboardView(Player& player, const Settings& settings, QWidget* parent)
    : QWidget(parent), player_(player), settings_(settings) {
  setFocusPolicy(Qt::StrongFocus);
  setAccessibleName(tr("Virtual keyboard"));
  setToolTip(tr("Play with the mouse, or with the keys of the computer; Page Up and Page Down change the octave"));
  setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
  playable_.fill(true);
  connect(&player, &Player::keySounded, this, &KeyboardView::showKey);
}

QSize KeyboardView::sizeHint() const {
  return {750, 64};
}

void KeyboardView::setPlayableKeys(const std::array<bool, 128>& playable) {
  playable_ = playable;
  update();
}

void KeyboardView::showKey(int key, bool isDown) {
  if (key < lowestKey || key > highestKey) return;
  down_[static_cast<std::size_t>(key)] = isDown;
  update();
}

QRectF KeyboardView::rectOf(int key) const {
  const double white = width() / static_cast<double>(whiteKeys);
  const double left = whitesBefore(key) * white;
  if (!isBlackKey(key)) return {left, 0, white, static_cast<double>(height())};
  return {left - white * blackWidth / 2, 0, white * blackWidth, height() * blackHeight};
}

int KeyboardView::keyAt(const QPointF& point) const {
  // Black keys lie on top of the white ones.
  for (const bool black : {true, false}) {
    for (int key = lowestKey; key <= highestKey; ++key) {
      if (isBlackKey(key) == black && rectOf(key).contains(point)) return key;
    }
  }
  return -1;
}

void KeyboardView::press(int key, int velocity) {
  if (key >= lowestKey && key <= highestKey) player_.keyDown(key, velocity);
}

void KeyboardView::letGo(int key) {
  if (key >= lowestKey && key <= highestKey) player_.keyUp(key);
}

void KeyboardView::playWithMouse(const QPointF& point) {
  const int key = keyAt(point);
  if (key == mouseKey_) return;
  letGo(mouseKey_);
  mouseKey_ = key;
  if (key < 0) return;
  // Further down a key is louder, as on other pianos of this kind.
  const QRectF area = rectOf(key);
  press(key, std::clamp(static_cast<int>(127 * (point.y() + 1) / area.height()), 1, 127));
}

void KeyboardView::mousePressEvent(QMouseEvent* event) {
  if (event->button() == Qt::LeftButton) playWithMouse(event->position());
}

void KeyboardView::mouseMoveEvent(QMouseEvent* event) {
  if (event->buttons() & Qt::LeftButton) playWithMouse(event->position());
}

void KeyboardView::mouseReleaseEvent(QMouseEvent*) {
  letGo(mouseKey_);
  mouseKey_ = -1;
}

bool KeyboardView::handleKey(const QKeyEvent& event) {
  if (event.modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier)) return false;
  const auto octaveKey = event.key() == Qt::Key_PageUp ? 1 : event.key() == Qt::Key_PageDown ? -1 : 0;
  if (octaveKey != 0 && event.type() == QEvent::KeyPress) {
    octave_ = std::clamp(octave_ + octaveKey, 0, 8);
    update();
    return true;
  }
  const int first = 12 * (octave_ + 1);
  const std::pair<const std::string&, int> rows[] = {{settings_.aio.vkLo, first}, {settings_.aio.vkHi, first + 12}};
  const uint8_t code = placeOf(event);
  for (const auto& [characters, base] : rows) {
    const auto codes = virtualKeyCodes(characters);
    const auto found = std::find(codes.begin(), codes.end(), code);
    if (code == 0 || found == codes.end()) continue;
    if (event.isAutoRepeat()) return true;
    const int key = base + static_cast<int>(found - codes.begin());
    if (event.type() == QEvent::KeyPress) {
      held_[code] = key;
      press(key, keyVelocity);
    } else if (const auto held = held_.find(code); held != held_.end()) {
      letGo(held->second);
      held_.erase(held);
    }
    return true;
  }
  return false;
}

QString KeyboardView::letterOf(int key) const {
  const int first = 12 * (octave_ + 1);
  const std::pair<const std::string&, int> rows[] = {{settings_.aio.vkLo, first}, {settings_.aio.vkHi, first + 12}};
  // Where the rows overlap there is room for one: the upper row's, which has no punctuation.
  QString letter;
  for (const auto& [characters, base] : rows) {
    const auto place = static_cast<std::size_t>(key - base);
    if (key >= base && place < characters.size() && characters[place] > ' ') letter = QLatin1Char(characters[place]);
  }
  return letter;
}

void KeyboardView::releaseAll() {
  letGo(mouseKey_);
  mouseKey_ = -1;
  for (const auto& [computerKey, key] : held_) letGo(key);
  held_.clear();
}

void KeyboardView::keyPressEvent(QKeyEvent* event) {
  if (!handleKey(*event)) QWidget::keyPressEvent(event);
}

void KeyboardView::keyReleaseEvent(QKeyEvent* event) {
  if (!handleKey(*event)) QWidget::keyReleaseEvent(event);
}

void KeyboardView::focusOutEvent(QFocusEvent*) {
  // Releases of keys go to who has the focus then.
  releaseAll();
}

void KeyboardView::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  const MiddleC middleC = settings_.app.midIsNamedC3 ? MiddleC::c3 : MiddleC::c4;
  for (const bool black : {false, true}) {
    for (int key = lowestKey; key <= highestKey; ++key) {
      if (isBlackKey(key) != black) continue;
      QColor colour = black ? QColor(0x28, 0x28, 0x28) : QColor(0xfa, 0xfa, 0xf6);
      if (!playable_[static_cast<std::size_t>(key)])
        colour = black ? QColor(0x80, 0x80, 0x80) : QColor(0xd0, 0xd0, 0xce);
      if (down_[static_cast<std::size_t>(key)]) colour = palette().color(QPalette::Active, QPalette::Highlight);
      painter.setPen(QPen(QColor(0x60, 0x60, 0x60), 0));
      painter.setBrush(colour);
      painter.drawRect(rectOf(key));
      if (rectOf(key).width() < 8) continue;
      painter.setPen(black ? QColor(0xd0, 0xd0, 0xd0) : QColor(0x50, 0x50, 0x50));
      QFont small = font();
      small.setPixelSize(8);
      painter.setFont(small);
      // What the keys of the computer play in this octave.
      const QRectF above = rectOf(key).adjusted(0, 0, 0, black ? -4 : -10);
      painter.drawText(above, Qt::AlignHCenter | Qt::AlignBottom, letterOf(key));
      if (key % 12 == 0) painter.drawText(rectOf(key), Qt::AlignHCenter | Qt::AlignBottom, qt(keyName(key, middleC)));
    }
  }
}

}  // namespace tervo::ui
