#pragma once
// Where a loop jumps back: the last frames before its end on the left, the first ones from its start on the right. A
// good loop has no step in the middle.

#include <QWidget>

#include "core/waveform.h"

namespace tervo::ui {

class LoopSeamView final : public QWidget {
  Q_OBJECT
 public:
  explicit LoopSeamView(QWidget* parent = nullptr);
  /// `marker` is the index of a loop; anything else shows nothing.
  void show(ItemId waveform, int marker);

 protected:
  void paintEvent(QPaintEvent* event) override;
  void wheelEvent(QWheelEvent* event) override;

 private:
  void paintSide(QPainter& painter, const Waveform& waveform, double seam, bool isLeft) const;

  ItemId waveform_ = noItem;
  int marker_ = -1;
  int framesASide_ = 60;
};

}  // namespace tervo::ui
