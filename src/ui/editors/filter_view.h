#pragma once
// The filter of the selected items as the engine designs it: its response, with a point for cutoff and resonance.

#include "ui/editors/response_view.h"

namespace tervo::ui {

class FilterView final : public ResponseView {
  Q_OBJECT
 public:
  FilterView(DocumentSession& session, PropertyModel& model, QWidget* parent = nullptr);

  std::vector<Handle> handles() const override;
  std::vector<ParameterId> choiceRows() const override { return {ParameterId::filterType}; }

 protected:
  std::vector<RowValue> valuesAt(int handle, const QPointF& place) const override;
  void paintCurve(QPainter& painter, ItemId item, const QColor& colour) const override;
  void chooseScale() override;
  ParameterId keyRow() const override { return ParameterId::filterType; }
};

}  // namespace tervo::ui
