#pragma once
// Fields for the values of the property pane: lists for choices, otherwise a line that takes numbers with units, moved
// by arrow keys, by the wheel and by dragging.

#include <QStyledItemDelegate>

namespace tervo::ui {

class PropertyDelegate final : public QStyledItemDelegate {
  Q_OBJECT
 public:
  /// For models that tell the row of the ParameterTable under PropertyModel::rowRole.
  explicit PropertyDelegate(QObject* parent = nullptr) : QStyledItemDelegate(parent) {}

  QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
  void setEditorData(QWidget* editor, const QModelIndex& index) const override;
  void setModelData(QWidget* editor, QAbstractItemModel* model, const QModelIndex& index) const override;
  QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
};

}  // namespace tervo::ui
