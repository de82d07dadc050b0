// The pages that ask.

#include <QAbstractItemView>
#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QDoubleValidator>
#include <QDragEnterEvent>
#include <QFileDialog>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMimeData>
#include <QPushButton>
#include <QSpinBox>
#include <QThread>
#include <QVBoxLayout>

#include "core/sample_format.h"
#include "ui/batch/batch_wizard.h"
#include "ui/file_dialogs.h"
#include "ui/qt_text.h"

namespace tervo::ui {
namespace {

constexpr double maxRate = 768000;

/// Rows that can write any kind of item, in the order of the table.
void offerRows(QComboBox& box, bool mayBeNone) {
  if (mayBeNone) box.addItem(BatchTargetsPage::tr("(none)"), noFormat);
  const auto& table = FormatTable();
  for (std::size_t i = 0; i < table.size(); ++i) {
    const auto row = static_cast<FormatIndex>(i);
    if (table[i].write) box.addItem(formatTitle(row), row);
  }
}

}  // namespace

BatchSourcesPage::BatchSourcesPage() {
  setTitle(tr("Files"));
  setSubTitle(tr("Add or drop files and folders. Of a folder everything below it is converted that can be read."));
  setAcceptDrops(true);
  list_ = new QListWidget;
  list_->setSelectionMode(QAbstractItemView::ExtendedSelection);
  list_->setAccessibleName(title());
  auto* files = new QPushButton(tr("Add &files..."));
  auto* folder = new QPushButton(tr("Add f&older..."));
  auto* remove = new QPushButton(tr("&Remove"));
  connect(files, &QPushButton::clicked, this, [this] { add(QFileDialog::getOpenFileNames(this, tr("Add files"))); });
  connect(folder, &QPushButton::clicked, this, [this] {
    if (const QString path = QFileDialog::getExistingDirectory(this, tr("Add folder")); !path.isEmpty()) add({path});
  });
  connect(remove, &QPushButton::clicked, this, &BatchSourcesPage::removeSelected);

  auto* buttons = new QVBoxLayout;
  for (QPushButton* button : {files, folder, remove}) buttons->addWidget(button);
  buttons->addStretch();
  auto* layout = new QHBoxLayout(this);
  layout->addWidget(list_, 1);
  layout->addLayout(buttons);
}

void BatchSourcesPage::add(const QStringList& paths) {
  for (const QString& path : paths) {
    const QString absolute = QDir::toNativeSeparators(QFileInfo(path).absoluteFilePath());
    if (list_->findItems(absolute, Qt::MatchExactly | Qt::MatchCaseSensitive).isEmpty()) list_->addItem(absolute);
  }
  Q_EMIT completeChanged();
}

void BatchSourcesPage::removeSelected() {
  qDeleteAll(list_->selectedItems());
  Q_EMIT completeChanged();
}

std::vector<Text> BatchSourcesPage::sources() const {
  std::vector<Text> paths;
  for (int i = 0; i < list_->count(); ++i) paths.push_back(textOf(list_->item(i)->text()));
  return paths;
}

bool BatchSourcesPage::isComplete() const {
  return list_->count() > 0;
}

void BatchSourcesPage::dragEnterEvent(QDragEnterEvent* event) {
  if (event->mimeData()->hasUrls()) event->acceptProposedAction();
}

void BatchSourcesPage::dropEvent(QDropEvent* event) {
  QStringList paths;
  for (const QUrl& url : event->mimeData()->urls())
    if (url.isLocalFile()) paths << url.toLocalFile();
  add(paths);
  event->setDropAction(Qt::CopyAction);
  event->accept();
}

BatchTargetsPage::BatchTargetsPage(const QString& folder) {
  setTitle(tr("Targets"));
  setSubTitle(tr("Up to four formats, and where the files go. Sub-folders of the sources are kept."));
  auto* form = new QFormLayout(this);
  for (std::size_t i = 0; i < rows_.size(); ++i) {
    rows_[i] = new QComboBox;
    offerRows(*rows_[i], i > 0);
    form->addRow(i == 0 ? tr("&Format:") : tr("Format &%1:").arg(i + 1), rows_[i]);
  }
  folder_ = new QLineEdit(folder);
  auto* browse = new QPushButton(tr("Bro&wse..."));
  auto* place = new QHBoxLayout;
  place->addWidget(folder_, 1);
  place->addWidget(browse);
  auto* label = new QLabel(tr("F&older:"));
  label->setBuddy(folder_);
  folder_->setAccessibleName(tr("Folder"));
  form->addRow(label, place);
  coding_ = new QComboBox;
  coding_->addItem(tr("As in the source"));
  for (int i = 0; i <= static_cast<int>(SampleCoding::compressed320); ++i)
    coding_->addItem(qt(nameOf(static_cast<SampleCoding>(i))));
  form->addRow(tr("&Sample coding:"), coding_);
  rate_ = new QLineEdit;
  rate_->setValidator(new QDoubleValidator(1, maxRate, 3, rate_));
  rate_->setPlaceholderText(tr("As in the source, Hz"));
  form->addRow(tr("Sample &rate:"), rate_);
  channels_ = new QComboBox;
  channels_->addItems({tr("As in the source"), tr("Mono"), tr("Stereo")});
  form->addRow(tr("&Channels:"), channels_);
  overwrite_ = new QCheckBox(tr("Replace files that are &there already"));
  resume_ = new QCheckBox(tr("&Leave out what an earlier run has finished"));
  resume_->setChecked(true);
  form->addRow(QString(), overwrite_);
  form->addRow(QString(), resume_);
  workers_ = new QSpinBox;
  workers_->setRange(1, 256);
  workers_->setValue(QThread::idealThreadCount());
  form->addRow(tr("Files &at once:"), workers_);
  connect(browse, &QPushButton::clicked, this, &BatchTargetsPage::chooseFolder);
  connect(folder_, &QLineEdit::textChanged, this, &BatchTargetsPage::completeChanged);
  connect(rate_, &QLineEdit::textChanged, this, &BatchTargetsPage::completeChanged);
}

void BatchTargetsPage::chooseFolder() {
  const QString chosen = QFileDialog::getExistingDirectory(this, tr("Folder"), folder_->text());
  if (!chosen.isEmpty()) setFolder(QDir::toNativeSeparators(chosen));
}

void BatchTargetsPage::setRows(const std::vector<FormatIndex>& rows) {
  for (std::size_t i = 0; i < rows_.size(); ++i)
    rows_[i]->setCurrentIndex(rows_[i]->findData(i < rows.size() ? rows[i] : noFormat));
}

void BatchTargetsPage::setFolder(const QString& folder) {
  folder_->setText(folder);
}

QString BatchTargetsPage::folder() const {
  return folder_->text();
}

int BatchTargetsPage::workers() const {
  return workers_->value();
}

bool BatchTargetsPage::isComplete() const {
  return QFileInfo(folder_->text()).isAbsolute() && (rate_->text().isEmpty() || rate_->hasAcceptableInput());
}

BatchRequest BatchTargetsPage::request() const {
  BatchRequest request;
  for (const QComboBox* box : rows_) {
    const FormatIndex row = box->currentData().toInt();
    if (row != noFormat && std::find(request.rows.begin(), request.rows.end(), row) == request.rows.end())
      request.rows.push_back(row);
  }
  request.targetFolder = textOf(folder_->text());
  request.overwrite = overwrite_->isChecked();
  request.resume = resume_->isChecked();
  const auto option = [&](TextView name, const QString& value) {
    request.options.emplace_back(name);
    request.options.push_back(textOf(value));
  };
  if (coding_->currentIndex() > 0) option(u"--coding", coding_->currentText());
  if (!rate_->text().isEmpty()) option(u"--rate", QString::number(rate_->locale().toDouble(rate_->text()), 'g', 12));
  if (channels_->currentIndex() > 0) option(u"--channels", QString::number(channels_->currentIndex()));
  return request;
}

}  // namespace tervo::ui
