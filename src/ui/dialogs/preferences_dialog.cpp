#include "ui/dialogs/preferences_dialog.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QScrollArea>
#include <QStackedWidget>
#include <QVBoxLayout>
#include <algorithm>

#include "audio/output/output_format.h"
#include "base/last_error.h"
#include "platform/midi_port.h"
#include "ui/help_window.h"
#include "ui/qt_text.h"

namespace tervo::ui {
namespace {

struct Page {
  const char* title;
  std::vector<TextView> prefixes;
};
const Page pageList[] = {
    {"General", {u"app."}},
    {"Loading", {u"load."}},
    {"Sound", {u"aio."}},
    {"Display", {u"viz."}},
    {"Saving several", {u"sall."}},
    {"Songs to waveforms", {u"mid2wav."}},
    {"Instruments to waveforms", {u"sy2wt."}},
    {"Formats", {u"fmt."}},
    {"Sample dump and discs", {u"sds.", u"rawio."}},
};

/// What the program keeps for itself: window places, recent files.
bool isKeptByProgram(const SettingRow& row) {
  constexpr TextView own[] = {u"app.LastFilesW", u"app.LastPathInW", u"app.LastPathOutW", u"app.aiLastExp",
                              u"app.ptLastPos",  u"app.ptLastSize",  u"app.iPaneSplitL",  u"app.awColWidths"};
  return std::find(std::begin(own), std::end(own), row.key) != std::end(own);
}

/// The text of the table without the name of the page.
QString labelOf(const SettingRow& row) {
  const QString text = row.meaning.empty() ? qt(row.key) : qt(row.meaning);
  const auto colon = text.indexOf(QStringLiteral(": "));
  return row.limits.isFlag && colon > 0 && colon < 12 ? text.mid(colon + 2) : text;
}

QStringList suggestionsFor(const SettingRow& row) {
  QStringList texts;
  const auto add = [&](const std::vector<Text>& all) {
    for (const Text& each : all) texts << qt(each);
  };
  if (row.key == u"aio.szAudioOutDev") {
    texts << qt(defaultAudioDevice);
    for (const auto& device : platform::audioDevices()) texts << qt(device.name);
  }
  if (row.key == u"aio.szMidiInDev") add(audio::midiListTexts(platform::midiInputs()));
  if (row.key == u"sds.szOutDev") add(audio::midiListTexts(platform::midiOutputs()));
  if (row.key == u"sds.szInDev") add(audio::midiListTexts(platform::midiInputs()));
  return texts;
}

}  // namespace

PreferencesDialog::PreferencesDialog(Settings& settings, QWidget* parent) : QDialog(parent), settings_(settings) {
  setWindowTitle(tr("Preferences"));
  setHelpPage(*this, "preferences");
  list_ = new QListWidget(this);
  list_->setAccessibleName(tr("Groups of settings"));
  list_->setMaximumWidth(190);
  pages_ = new QStackedWidget(this);
  connect(list_, &QListWidget::currentRowChanged, pages_, &QStackedWidget::setCurrentIndex);
  for (const Page& page : pageList) addPage(tr(page.title), page.prefixes);
  list_->setCurrentRow(0);
  failure_ = new QLabel(this);
  failure_->setTextFormat(Qt::PlainText);
  failure_->setWordWrap(true);
  auto* buttons =
      new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel | QDialogButtonBox::RestoreDefaults, this);
  connect(buttons, &QDialogButtonBox::accepted, this, &PreferencesDialog::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &PreferencesDialog::reject);
  connect(buttons->button(QDialogButtonBox::RestoreDefaults), &QPushButton::clicked, this,
          &PreferencesDialog::restoreDefaults);
  auto* across = new QHBoxLayout;
  across->addWidget(list_);
  across->addWidget(pages_, 1);
  auto* layout = new QVBoxLayout(this);
  layout->addLayout(across, 1);
  layout->addWidget(failure_);
  layout->addWidget(buttons);
  resize(820, 520);
}

void PreferencesDialog::addPage(const QString& title, std::span<const TextView> prefixes) {
  auto* page = new QWidget;
  auto* form = new QFormLayout(page);
  form->setRowWrapPolicy(QFormLayout::WrapLongRows);
  for (const SettingRow& row : settingRows()) {
    const bool belongs =
        std::any_of(prefixes.begin(), prefixes.end(), [&](TextView prefix) { return row.key.starts_with(prefix); });
    if (!belongs || isKeptByProgram(row)) continue;
    QWidget* field = makeField(row);
    field->setAccessibleName(labelOf(row));
    field->setToolTip(QStringLiteral("%1\n%2").arg(qt(row.key), qt(settingTypeText(row))));
    form->addRow(row.limits.isFlag ? QString() : labelOf(row), field);
    fields_.push_back({&row, field, list_->count()});
  }
  auto* area = new QScrollArea(pages_);
  area->setWidgetResizable(true);
  area->setWidget(page);
  pages_->addWidget(area);
  list_->addItem(title);
}

QWidget* PreferencesDialog::makeField(const SettingRow& row) {
  const QString text = qt(settingText(settings_, row));
  if (row.limits.isFlag) {
    auto* box = new QCheckBox(labelOf(row));
    box->setChecked(std::get<std::span<uint8_t>>(fieldOf(settings_, row))[0] != 0);
    return box;
  }
  if (const QStringList suggestions = suggestionsFor(row); !suggestions.isEmpty()) {
    auto* box = new QComboBox;
    box->setEditable(true);
    box->addItems(suggestions);
    box->setCurrentText(text);
    return box;
  }
  return new QLineEdit(text);
}

Text PreferencesDialog::textOfField(const Field& field) {
  if (const auto* box = qobject_cast<const QCheckBox*>(field.widget)) return box->isChecked() ? u"on" : u"off";
  if (const auto* box = qobject_cast<const QComboBox*>(field.widget)) return textOf(box->currentText());
  return textOf(qobject_cast<const QLineEdit*>(field.widget)->text());
}

QWidget* PreferencesDialog::field(TextView key) const {
  const auto found =
      std::find_if(fields_.begin(), fields_.end(), [&](const Field& each) { return each.row->key == key; });
  return found == fields_.end() ? nullptr : found->widget;
}

void PreferencesDialog::restoreDefaults() {
  for (const Field& field : fields_) {
    const QString standard = qt(defaultSettingText(*field.row));
    Settings fresh;
    if (auto* box = qobject_cast<QCheckBox*>(field.widget))
      box->setChecked(std::get<std::span<uint8_t>>(fieldOf(fresh, *field.row))[0] != 0);
    else if (auto* list = qobject_cast<QComboBox*>(field.widget))
      list->setCurrentText(standard);
    else
      qobject_cast<QLineEdit*>(field.widget)->setText(standard);
  }
}

void PreferencesDialog::accept() {
  Settings changed = settings_;
  for (const Field& field : fields_) {
    const Text text = textOfField(field);
    // A flag may be stored as any number but 0.
    const bool isFlag = field.row->limits.isFlag;
    const bool was = isFlag && std::get<std::span<uint8_t>>(fieldOf(settings_, *field.row))[0] != 0;
    if (isFlag ? was == (text == u"on") : text == settingText(settings_, *field.row)) continue;
    if (setSettingText(changed, *field.row, text)) continue;
    list_->setCurrentRow(field.page);
    field.widget->setFocus();
    failure_->setText(QStringLiteral("%1: %2").arg(labelOf(*field.row), qt(LastErrorText())));
    return;
  }
  settings_ = changed;
  QDialog::accept();
}

}  // namespace tervo::ui
