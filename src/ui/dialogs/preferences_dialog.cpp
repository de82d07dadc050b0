#include "ui/dialogs/preferences_dialog.h"

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QDir>
#include <QFileDialog>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QScrollArea>
#include <QStackedWidget>
#include <QStyle>
#include <QVBoxLayout>
#include <algorithm>
#include <array>
#include <set>

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
    {"Sound", {u"aio.", u"sds."}},
    {"Display", {u"viz."}},
    {"Saving several", {u"sall."}},
    {"Songs to waveforms", {u"mid2wav."}},
    {"Instruments to waveforms", {u"sy2wt."}},
    {"Formats", {u"fmt."}},
    {"Raw data", {u"rawio."}},
};

/// What the program keeps for itself (window places, recent files), and what nothing here would honour: it asks no
/// server for updates, loads no plug-ins, records nothing, reads neither sample dumps nor discs and writes no MPEG
/// audio.
bool isLeftOut(const SettingRow& row) {
  constexpr TextView hidden[] = {
      u"app.LastFilesW",  u"app.LastPath",   u"app.aiLastExp", u"app.ptLast",     u"app.iPaneSplitL",
      u"app.awColWidths", u"rawio.szLayout", u"rawio.iCDDev",  u"app.szVSTPaths", u"app.bCheckForUpdates",
      u"aio.szAudioIn",   u"aio.cAudioIn",   u"aio.bAudioIn",  u"sds.szInDev",    u"sds.iOutChannel",
      u"sds.iInChannel",  u"sds.iOutBits",   u"fmt.mp3.",      u"fmt.mp2.",       u"fmt.aac."};
  return std::any_of(std::begin(hidden), std::end(hidden), [&](TextView key) { return row.key.starts_with(key); });
}

/// The text of the table without the name of the page.
QString labelOf(const SettingRow& row) {
  const QString text = row.meaning.empty() ? qt(row.key) : qt(row.meaning);
  const auto colon = text.indexOf(QStringLiteral(": "));
  return row.limits.isFlag && colon > 0 && colon < 12 ? text.mid(colon + 2) : text;
}

/// An entry of a list: what it says, and what the setting then is.
struct Choice {
  QString shown, stored;
};
using Choices = std::vector<Choice>;

Choices choicesOf(const std::vector<Text>& texts) {
  Choices choices;
  for (const Text& text : texts) choices.push_back({qt(text), qt(text)});
  return choices;
}

/// The rates of all devices, or the usual ones where none says any.
Choices rateChoices() {
  std::set<uint32_t> rates;
  for (const auto& device : platform::audioDevices())
    rates.insert(device.sampleRates.begin(), device.sampleRates.end());
  if (rates.empty()) rates = {22050, 44100, 48000, 88200, 96000, 192000};
  Choices choices;
  for (const uint32_t rate : rates) choices.push_back({qt(audio::rateText(rate)), QString::number(rate)});
  return choices;
}

Choices outputChoices() {
  const auto devices = platform::audioDevices();
  Choices choices = choicesOf(audio::outputListTexts(devices));
  if (devices.empty())
    choices[0].stored = qt(defaultAudioDevice);
  else
    choices.insert(choices.begin(), {qt(defaultAudioDevice), qt(defaultAudioDevice)});
  return choices;
}

Choices choicesFor(TextView key) {
  if (key == u"aio.szAudioOutDev") return outputChoices();
  if (key == u"aio.szAudioOutSampleRate") return rateChoices();
  if (key == u"aio.cAudioOutChannels") return {{qt(audio::channelsText(1)), "1"}, {qt(audio::channelsText(2)), "2"}};
  if (key == u"aio.szMidiInDev") return choicesOf(audio::midiListTexts(platform::midiInputs()));
  if (key == u"sds.szOutDev") return choicesOf(audio::midiListTexts(platform::midiOutputs()));
  Choices choices;
  if (key != u"aio.cAudioOutFormat") return choices;
  for (const uint8_t code : std::array<uint8_t, 4>{16, 24, 32, 255})
    choices.push_back({qt(audio::nameOf(audio::codingOf(code))), QString::number(code)});
  return choices;
}

bool isPath(TextView key) {
  return key == u"app.wszWave" || key == u"app.wszMidi" || key == u"mid2wav.wszGMBank";
}

/// Shows what is stored by what the list says for it.
void showStored(QComboBox& box, const QString& stored) {
  const int index = box.findData(stored);
  index < 0 ? box.setCurrentText(stored) : box.setCurrentIndex(index);
}

}  // namespace

PreferencesDialog::PreferencesDialog(Settings& settings, QWidget* parent, TextView formatInUse)
    : QDialog(parent), settings_(settings), formatInUse_(formatInUse) {
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
    if (!belongs || isLeftOut(row)) continue;
    QWidget* field = makeField(row);
    field->setAccessibleName(labelOf(row));
    field->setToolTip(QStringLiteral("%1\n%2").arg(qt(row.key), qt(settingTypeText(row))));
    form->addRow(row.limits.isFlag ? QString() : labelOf(row), field);
    fields_.push_back({&row, field, list_->count()});
    if (row.key == u"aio.szAudioOutSampleRate" && !formatInUse_.empty())
      form->addRow(QString(), new QLabel(qt(formatInUse_)));
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
  if (isPath(row.key)) return makePathField(text, labelOf(row));
  if (const Choices choices = choicesFor(row.key); !choices.empty()) {
    auto* box = new QComboBox;
    box->setEditable(true);
    for (const Choice& choice : choices) box->addItem(choice.shown, choice.stored);
    showStored(*box, text);
    return box;
  }
  return new QLineEdit(text);
}

QWidget* PreferencesDialog::makePathField(const QString& text, const QString& title) {
  auto* line = new QLineEdit(text);
  QAction* browse = line->addAction(style()->standardIcon(QStyle::SP_DirOpenIcon), QLineEdit::TrailingPosition);
  browse->setToolTip(tr("Choose a file"));
  connect(browse, &QAction::triggered, line, [line, title] {
    const QString path = QFileDialog::getOpenFileName(line, title, QFileInfo(line->text()).path());
    if (!path.isEmpty()) line->setText(QDir::toNativeSeparators(path));
  });
  return line;
}

Text PreferencesDialog::textOfField(const Field& field) {
  if (const auto* box = qobject_cast<const QCheckBox*>(field.widget)) return box->isChecked() ? u"on" : u"off";
  if (const auto* box = qobject_cast<const QComboBox*>(field.widget)) {
    // The index stays where it was while somebody types.
    const int index = box->findText(box->currentText());
    return textOf(index < 0 ? box->currentText() : box->itemData(index).toString());
  }
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
      showStored(*list, standard);
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
