#include "ui/dialogs/option_form.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QLineEdit>
#include <QListWidget>

#include "ui/qt_text.h"

namespace tervo::ui {

OptionForm::OptionForm(const Operation& operation, QWidget* parent) : QWidget(parent), operation_(operation) {
  auto* form = new QFormLayout(this);
  for (const OptionInfo& option : operation.options) {
    QWidget* field = makeField(option);
    field->setToolTip(qt(option.text));
    field->setAccessibleName(qt(option.title));
    form->addRow(option.type == OptionType::flag ? QString() : qt(option.title), field);
    fields_.push_back({&option, field});
  }
}

QWidget* OptionForm::makeField(const OptionInfo& option) {
  if (option.type == OptionType::flag) {
    auto* box = new QCheckBox(qt(option.title), this);
    box->setChecked(option.usual != 0);
    return box;
  }
  if (option.type == OptionType::choice) {
    auto* box = new QComboBox(this);
    for (const TextView choice : option.choices) box->addItem(qt(choice));
    box->setCurrentIndex(static_cast<int>(option.usual));
    return box;
  }
  if (option.type == OptionType::choices) {
    auto* list = new QListWidget(this);
    for (std::size_t i = 0; i < option.choices.size(); ++i) {
      auto* item = new QListWidgetItem(qt(option.choices[i]), list);
      item->setCheckState(static_cast<uint32_t>(option.usual) >> i & 1 ? Qt::Checked : Qt::Unchecked);
    }
    return list;
  }
  auto* line = new QLineEdit(qt(usualText(option)), this);
  line->setPlaceholderText(qt(rangeText(option)));
  return line;
}

Text OptionForm::textOfField(const Field& field) {
  if (const auto* box = qobject_cast<const QCheckBox*>(field.widget)) return box->isChecked() ? u"on" : u"off";
  if (const auto* box = qobject_cast<const QComboBox*>(field.widget)) return textOf(box->currentText());
  if (const auto* line = qobject_cast<const QLineEdit*>(field.widget)) return textOf(line->text().trimmed());
  const auto* list = qobject_cast<const QListWidget*>(field.widget);
  QStringList chosen;
  for (int i = 0; i < list->count(); ++i) {
    if (list->item(i)->checkState() == Qt::Checked) chosen << list->item(i)->text();
  }
  return textOf(chosen.join(u','));
}

std::optional<OptionValues> OptionForm::values() const {
  OptionValues values(operation_.options);
  for (const Field& field : fields_) {
    const Text text = textOfField(field);
    // What was left as it was stands for the usual value, which need not be one that can be typed.
    if (text == usualText(*field.option) || (field.option->type == OptionType::choices && text.empty())) continue;
    if (values.set(field.option->name, text)) continue;
    field.widget->setFocus();
    return std::nullopt;
  }
  return values;
}

}  // namespace tervo::ui
