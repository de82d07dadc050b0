#pragma once
// A picture with points to drag: what the editors of envelopes, LFOs, filters and equalizers have in common. A point
// stands for one or two rows of the selected items and changes them on all of them, as one undo step a drag. Tab goes
// from point to point, arrows move it by steps (Shift: by ten), Page Up and Page Down and the wheel change its third
// row, Delete and a double click leave its rows to the level above.

#include <QWidget>
#include <optional>
#include <vector>

#include "core/item.h"
#include "core/parameter_id.h"

namespace tervo::ui {

class DocumentSession;
class PropertyModel;

struct Handle {
  QPointF place;
  QString name;
  std::optional<ParameterId> across = {};  ///< what moving it to the right and left changes
  std::optional<ParameterId> upright = {};
  std::optional<ParameterId> depth = {};  ///< what the wheel changes
  QString note = {};                      ///< is shown with its values
};

class HandleView : public QWidget {
  Q_OBJECT
 public:
  HandleView(DocumentSession& session, PropertyModel& model, QWidget* parent);

  /// The items or their values may have changed.
  void refresh();

  virtual std::vector<Handle> handles() const = 0;
  /// -1 for none.
  int chosenHandle() const { return chosen_; }
  void chooseHandle(int index);
  /// The rows that are picked from a list, which the pane shows as boxes.
  virtual std::vector<ParameterId> choiceRows() const { return {}; }

  QSize sizeHint() const override { return {480, 220}; }

 protected:
  using RowValue = std::pair<ParameterId, double>;
  /// What the rows of a point become when it is dragged to a place: always the same rows in the same order.
  virtual std::vector<RowValue> valuesAt(int handle, const QPointF& place) const = 0;
  virtual void paintGrid(QPainter& painter) const = 0;
  virtual void paintCurve(QPainter& painter, ItemId item, const QColor& colour) const = 0;
  /// Fixed while a point is dragged: the scale must not run away from under the mouse.
  virtual void chooseScale() = 0;
  /// A row that the items must have for anything to be shown.
  virtual ParameterId keyRow() const = 0;

  DocumentSession& session() const { return session_; }
  /// The items that have the rows; the first one is the one that the points stand for.
  const std::vector<ItemId>& shownItems() const { return shown_; }
  double valueOf(ParameterId row) const;
  QString shownValue(ParameterId row) const;

  bool event(QEvent* event) override;
  bool focusNextPrevChild(bool next) override;
  void focusInEvent(QFocusEvent* event) override;
  void focusOutEvent(QFocusEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  void wheelEvent(QWheelEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void leaveEvent(QEvent* event) override;
  void paintEvent(QPaintEvent* event) override;

 private:
  bool isAvailable(ParameterId row) const;
  bool isAvailable(const Handle& handle) const;
  int handleAt(const QPointF& point) const;
  void step(std::optional<ParameterId> row, double steps, bool startsGesture);
  void resetChosen();
  QString readout(const Handle& handle) const;
  void paintHandles(QPainter& painter) const;

  DocumentSession& session_;
  PropertyModel& model_;
  std::vector<ItemId> shown_;
  int chosen_ = -1;
  int hovered_ = -1;
  bool isDragging_ = false;
  QPointF grip_;  ///< from the mouse to the middle of the dragged point
  uint64_t gesture_ = 0;
};

}  // namespace tervo::ui
