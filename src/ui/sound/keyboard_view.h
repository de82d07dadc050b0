#pragma once
// Piano keys to play with the mouse and with the computer's keys, which show what sounds.

#include <QWidget>
#include <array>
#include <map>
#include <vector>

#include "core/settings.h"

namespace tervo::ui {

class Player;

class KeyboardView final : public QWidget {
  Q_OBJECT
 public:
  KeyboardView(Player& player, const Settings& settings, QWidget* parent = nullptr);

  /// Keys that some region answers to; others are drawn dimmed.
  void setPlayableKeys(const std::array<bool, 128>& playable);
  void showKey(int key, bool isDown);
  /// The key of a point, -1 beside the keys.
  int keyAt(const QPointF& point) const;
  /// Of the computer's keyboard, what plays it in this octave.
  QString letterOf(int key) const;
  QRectF rectOf(int key) const;

  /// A computer key that plays; true when it was one. They are those of the settings by their place on a US keyboard.
  bool handleKey(const QKeyEvent& event);
  void releaseAll();
  int octave() const { return octave_; }

  QSize sizeHint() const override;

 protected:
  void paintEvent(QPaintEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void keyReleaseEvent(QKeyEvent* event) override;
  void focusOutEvent(QFocusEvent* event) override;

 private:
  void press(int key, int velocity);
  void letGo(int key);
  void playWithMouse(const QPointF& point);

  Player& player_;
  const Settings& settings_;
  std::array<bool, 128> playable_{};
  std::array<bool, 128> down_{};
  std::map<int, int> held_;  ///< piano keys by the computer keys that hold them
  int mouseKey_ = -1;
  int octave_ = 4;  ///< of the lower row: 4 begins at middle C
};

}  // namespace tervo::ui
