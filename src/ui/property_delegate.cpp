#include "ui/property_delegate.h"

#include <QComboBox>
#include <QLineEdit>

#include "core/parameter_lists.h"
#include "ui/property_model.h"
#include "ui/qt_text.h"

namespace tervo::ui {
namespace {

ParameterId rowOfIndex(const QModelIndex& index) {
  return static_cast<ParameterId>(index.data(PropertyModel::rowRole).toInt());
}

}  // namespace

QWidget* PropertyDelegate::createEditor(QWidget* parent, const QStyleOptionViewItem&, const QModelIndex& index) const {
  const ParameterRow& row = rowOf(rowOfIndex(index));
  if (const auto choices = choicesOf(row.editor); !choices.empty()) {
    auto* box = new QComboBox(parent);
    for (const TextView choice : choices) box->addItem(qt(choice));
    connect(box, &QComboBox::activated, this, [this, box] {
      auto* self = const_cast<PropertyDelegate*>(this);
      Q_EMIT self->commitData(box);
      Q_EMIT self->closeEditor(box);
    });
    box->setAccessibleName(qt(row.name));
    return box;
  }
  auto* line = new QLineEdit(parent);
  line->setFrame(false);
  line->setAccessibleName(qt(row.name));
  return line;
}

void PropertyDelegate::setEditorData(QWidget* editor, const QModelIndex& index) const {
  const QString text = index.data(Qt::EditRole).toString();
  if (auto* box = qobject_cast<QComboBox*>(editor)) {
    box->setCurrentIndex(box->findText(text));
    return;
  }
  auto* line = qobject_cast<QLineEdit*>(editor);
  line->setText(text);
  line->selectAll();
}

void PropertyDelegate::setModelData(QWidget* editor, QAbstractItemModel* model, const QModelIndex& index) const {
  const auto* box = qobject_cast<const QComboBox*>(editor);
  if (box && box->currentIndex() < 0) return;
  model->setData(index, box ? box->currentText() : qobject_cast<const QLineEdit*>(editor)->text());
}

QSize PropertyDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const {
  const QSize size = QStyledItemDelegate::sizeHint(option, index);
  return {size.width(), size.height() + 4};
}

}  // namespace tervo::ui
