#pragma once
// The three bands of the equalizer of the selected items: what they do together, each by itself, and a point for each.
// The wheel over a point changes its Q.

#include "ui/editors/response_view.h"

namespace tervo::ui {

class EqView final : public ResponseView {
  Q_OBJECT
 public:
  EqView(DocumentSession& session, PropertyModel& model, QWidget* parent = nullptr);

  std::vector<Handle> handles() const override;
  std::vector<ParameterId> choiceRows() const override;

 protected:
  std::vector<RowValue> valuesAt(int handle, const QPointF& place) const override;
  void paintCurve(QPainter& painter, ItemId item, const QColor& colour) const override;
  void chooseScale() override { setRange(-27, 27); }
  ParameterId keyRow() const override { return ParameterId::eq1Mode; }
};

}  // namespace tervo::ui
