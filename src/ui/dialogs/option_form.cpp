#include "ui/dialogs/option_form.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <algorithm>

#include "ui/qt_text.h"

namespace tervo::ui {
namespace {

/// Boxes break no lines themselves.
QString inLines(const QString& title) {
  constexpr qsizetype widest = 50;
  QString lines;
  qsizetype begin = 0;
  for (const QString& word : title.split(u' ')) {
    const bool fits = lines.size() + 1 + word.size() - begin <= widest;
    if (!lines.isEmpty()) lines += fits ? u' ' : u'\n';
    if (!fits) begin = lines.size();
    lines += word;
  }
  return lines;
}

}  // namespace

OptionForm::OptionForm(const Operation& operation, const OptionValues& shown, QWidget* parent)
    : QWidget(parent), operation_(operation) {
  auto* form = new QFormLayout(this);
  QHBoxLayout* row = nullptr;
  QString title;
  for (const OptionInfo& option : operation.options) {
    QWidget* field = makeField(option, shown.number(option.name));
    const bool isRangeEnd = row && option.title == u"..";
    title = isRangeEnd ? title + u' ' + qt(option.title) : qt(option.title);
    if (isRangeEnd) row->addWidget(new QLabel(qt(option.title), this));
    if (!isRangeEnd) form->addRow(option.type == OptionType::flag ? QString() : title, row = new QHBoxLayout);
    row->addWidget(field);
    if (!option.unit.empty()) row->addWidget(new QLabel(qt(option.unit), this));
    field->setToolTip(qt(option.text));
    field->setAccessibleName(title);
    fields_.push_back({&option, field});
  }
}

QWidget* OptionForm::makeField(const OptionInfo& option, double value) {
  if (option.type == OptionType::flag) {
    auto* box = new QCheckBox(inLines(qt(option.title)), this);
    box->setChecked(value != 0);
    return box;
  }
  if (option.type == OptionType::choice) {
    auto* box = new QComboBox(this);
    for (const TextView choice : option.choices) box->addItem(qt(choice));
    box->setCurrentIndex(static_cast<int>(value));
    return box;
  }
  if (option.type == OptionType::choices) {
    auto* list = new QListWidget(this);
    for (std::size_t i = 0; i < option.choices.size(); ++i) {
      auto* item = new QListWidgetItem(qt(option.choices[i]), list);
      item->setCheckState(static_cast<uint32_t>(value) >> i & 1 ? Qt::Checked : Qt::Unchecked);
    }
    return list;
  }
  auto* line = new QLineEdit(qt(valueText(option, value)), this);
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
    if (!field.widget->isEnabled()) continue;
    const Text text = textOfField(field);
    // What was left as it was stands for the usual value, which need not be one that can be typed.
    if (text == usualText(*field.option) || (field.option->type == OptionType::choices && text.empty())) continue;
    if (values.set(field.option->name, text)) continue;
    field.widget->setFocus();
    return std::nullopt;
  }
  return values;
}

QLineEdit& OptionForm::line(TextView name) const {
  const auto isIt = [name](const Field& field) { return field.option->name == name; };
  return *qobject_cast<QLineEdit*>(std::find_if(fields_.begin(), fields_.end(), isIt)->widget);
}

}  // namespace tervo::ui
