#pragma once
// One of the four envelopes of the selected items: all its segments, with a point at the end of each. The volume
// envelope shows levels as decibels, the others are bipolar.

#include "ui/editors/envelope_graph.h"
#include "ui/editors/handle_view.h"

namespace tervo::ui {

class EnvelopeEditor final : public HandleView {
  Q_OBJECT
 public:
  EnvelopeEditor(DocumentSession& session, PropertyModel& model, QWidget* parent = nullptr);

  void setEnvelope(Modulator which);
  Modulator envelope() const { return which_; }
  std::vector<Handle> handles() const override;

 protected:
  std::vector<RowValue> valuesAt(int handle, const QPointF& place) const override;
  void paintGrid(QPainter& painter) const override;
  void paintCurve(QPainter& painter, ItemId item, const QColor& colour) const override;
  void chooseScale() override;
  ParameterId keyRow() const override { return inEnvelope(which_, ParameterId::vEnvInitialLevel); }

 private:
  QRectF area() const;
  double yOf(double level) const;
  double levelAt(double y) const;
  bool isBipolar() const { return which_ != Modulator::volume; }
  EnvelopeGraph graph() const;
  void paintSegment(QPainterPath& path, double from, double to, double before, double after) const;
  void paintTimes(QPainter& painter, const EnvelopeGraph& graph, const EnvelopePlaces& places) const;

  Modulator which_ = Modulator::volume;
  EnvelopeScale scale_;
  double releaseStart_ = 0;
};

}  // namespace tervo::ui
