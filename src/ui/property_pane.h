#pragma once
// The parameters of what is selected: a field to find rows in, the rows in groups, and which target they are meant for.

#include <QTreeView>
#include <QWidget>
#include <vector>

#include "core/capabilities.h"
#include "core/item.h"
#include "core/parameter_id.h"

class QComboBox;
class QLabel;
class QLineEdit;
class QSortFilterProxyModel;

namespace tervo::ui {

class DocumentSession;
class PropertyModel;

/// The tree of rows. The wheel with Ctrl, plus and minus, and dragging a value change it step by step.
class PropertyView final : public QTreeView {
  Q_OBJECT
 public:
  PropertyView(PropertyModel& model, QWidget* parent);

 protected:
  void keyPressEvent(QKeyEvent* event) override;
  void wheelEvent(QWheelEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;

 private:
  std::optional<ParameterId> numberRowAt(const QPoint& position) const;

  PropertyModel& model_;
  uint64_t gesture_ = 0;
  std::optional<ParameterId> draggedRow_;
  QPoint dragged_;
  bool isDragging_ = false;
};

class PropertyPane final : public QWidget {
  Q_OBJECT
 public:
  explicit PropertyPane(DocumentSession& session, QWidget* parent = nullptr);

  void setItems(std::vector<ItemId> items);
  void refresh();
  PropertyModel& model() { return *model_; }
  /// That has the focus.
  ParameterId currentRow() const { return row_; }
  PropertyView& view() { return *view_; }

 Q_SIGNALS:
  /// Another row has the focus.
  void rowChosen(ParameterId row);

 private:
  static QString headingOf(const std::vector<ItemId>& items);
  void rememberExpanded();
  void restoreExpanded();

  DocumentSession& session_;
  PropertyModel* model_;
  QSortFilterProxyModel* filter_;
  PropertyView* view_;
  QLineEdit* search_;
  QComboBox* target_;
  QLabel* heading_;
  CapabilitySet custom_ = CapabilityProfiles[0].capabilities;  ///< the user's own
  QStringList collapsed_;
  ParameterId row_{};
};

}  // namespace tervo::ui
