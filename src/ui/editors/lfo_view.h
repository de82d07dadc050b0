#pragma once
// One of the four LFOs of the selected items over time: its shape, how it waits and fades in, with points for the end
// of the delay, the end of the ramp and the length of a turn.

#include "ui/editors/handle_view.h"

namespace tervo::ui {

class LfoView final : public HandleView {
  Q_OBJECT
 public:
  LfoView(DocumentSession& session, PropertyModel& model, QWidget* parent = nullptr);

  void setLfo(Modulator which);
  Modulator lfo() const { return which_; }
  std::vector<Handle> handles() const override;
  std::vector<ParameterId> choiceRows() const override { return {row(ParameterId::pLfoShape)}; }

 protected:
  std::vector<RowValue> valuesAt(int handle, const QPointF& place) const override;
  void paintGrid(QPainter& painter) const override;
  void paintCurve(QPainter& painter, ItemId item, const QColor& colour) const override;
  void chooseScale() override;
  ParameterId keyRow() const override { return row(ParameterId::pLfoShape); }

 private:
  ParameterId row(ParameterId pLfoRow) const { return inLfo(which_, pLfoRow); }
  QRectF area() const;
  double xOf(double seconds) const;
  double secondsAt(double x) const;
  double yOf(double value) const;

  Modulator which_ = Modulator::pitch;
  double shownSeconds_ = 1;
};

}  // namespace tervo::ui
