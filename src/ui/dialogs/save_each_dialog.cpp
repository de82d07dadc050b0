#include "ui/dialogs/save_each_dialog.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QFormLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QStyle>
#include <QTableWidget>
#include <QVBoxLayout>
#include <map>

#include "ui/document_session.h"
#include "ui/file_dialogs.h"
#include "ui/help_window.h"
#include "ui/qt_text.h"

namespace tervo::ui {
namespace {

void showState(QTableWidgetItem& cell, const SavedItem& item) {
  const bool isSaved = item.failure.empty();
  cell.setText(isSaved ? SaveEachDialog::tr("saved") : qt(item.failure));
  cell.setIcon(
      QApplication::style()->standardIcon(isSaved ? QStyle::SP_DialogApplyButton : QStyle::SP_MessageBoxCritical));
}

}  // namespace

SaveEachDialog::SaveEachDialog(DocumentSession& session, std::vector<ItemId> items, QWidget* parent)
    : QDialog(parent), session_(session), items_(std::move(items)) {
  setWindowTitle(tr("Save each item"));
  setHelpPage(*this, "saving");
  const auto addAll = [&](const auto& all) {
    for (const auto& item : all) items_.push_back(item->id());
  };
  std::erase_if(items_, [](ItemId id) { return kindOf(id) == ItemKind::collection || !findItem(id); });
  if (items_.empty()) addAll(session.document().instruments());
  if (items_.empty()) addAll(session.document().waveforms());
  if (items_.empty()) addAll(session.document().songs());
  format_ = new QComboBox(this);
  format_->setAccessibleName(tr("Format"));
  for (const FormatIndex index : rowsToSave(items_.empty() ? ItemKind::waveform : kindOf(items_[0])))
    format_->addItem(formatTitle(index), index);
  folder_ = new QLineEdit(qt(session.settings().app.lastPathOut), this);
  folder_->setAccessibleName(tr("Folder"));
  auto* browse = new QPushButton(tr("&Browse..."), this);
  subFolders_ = new QCheckBox(tr("Into &sub-folders by kind"), this);
  subFolders_->setChecked(session.settings().sall.subDirs != 0);
  table_ = new QTableWidget(0, 2, this);
  table_->setHorizontalHeaderLabels({tr("File"), tr("State")});
  table_->horizontalHeader()->setStretchLastSection(true);
  table_->setColumnWidth(0, 380);
  table_->setEditTriggers(QAbstractItemView::NoEditTriggers);
  table_->setAccessibleName(tr("Files"));
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Save | QDialogButtonBox::Close, this);
  save_ = buttons->button(QDialogButtonBox::Save);
  connect(buttons, &QDialogButtonBox::accepted, this, &SaveEachDialog::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &SaveEachDialog::reject);
  connect(browse, &QPushButton::clicked, this, &SaveEachDialog::chooseFolder);
  connect(format_, &QComboBox::currentIndexChanged, this, &SaveEachDialog::showPlan);
  connect(folder_, &QLineEdit::textChanged, this, &SaveEachDialog::showPlan);
  connect(subFolders_, &QCheckBox::toggled, this, &SaveEachDialog::showPlan);

  auto* place = new QHBoxLayout;
  place->addWidget(folder_, 1);
  place->addWidget(browse);
  auto* form = new QFormLayout;
  form->addRow(tr("&Format:"), format_);
  auto* label = new QLabel(tr("F&older:"), this);
  label->setBuddy(folder_);
  folder_->setAccessibleName(tr("Folder"));
  form->addRow(label, place);
  form->addRow(QString(), subFolders_);
  auto* layout = new QVBoxLayout(this);
  layout->addLayout(form);
  layout->addWidget(table_, 1);
  layout->addWidget(buttons);
  resize(720, 420);
  showPlan();
}

FormatIndex SaveEachDialog::row() const {
  return format_->currentData().isValid() ? format_->currentData().toInt() : noFormat;
}

void SaveEachDialog::setFolder(const QString& folder) {
  folder_->setText(folder);
}

void SaveEachDialog::setRow(FormatIndex index) {
  format_->setCurrentIndex(format_->findData(index));
}

void SaveEachDialog::chooseFolder() {
  const QString folder = QFileDialog::getExistingDirectory(this, tr("Folder"), folder_->text());
  if (!folder.isEmpty()) setFolder(QDir::toNativeSeparators(folder));
}

void SaveEachDialog::showPlan() {
  table_->setRowCount(0);
  save_->setEnabled(row() != noFormat && !items_.empty() && QFileInfo(folder_->text()).isDir());
  if (row() == noFormat) return;
  std::vector<const Item*> items;
  for (const ItemId id : items_) items.push_back(findItem(id));
  std::erase(items, nullptr);
  const auto subFolders = subFolders_->isChecked() ? SubFolders::byKind : SubFolders::none;
  for (const SavedItem& each : planSaveEach(items, row(), textOf(folder_->text()), subFolders)) {
    const int line = table_->rowCount();
    table_->insertRow(line);
    table_->setItem(line, 0, new QTableWidgetItem(qt(each.path)));
    const bool exists = QFileInfo::exists(qt(each.path));
    const QString state = saved_.contains(each.path) ? tr("saved")
                          : exists                   ? tr("exists already, will be kept")
                                                     : QString();
    table_->setItem(line, 1, new QTableWidgetItem(state));
  }
}

void SaveEachDialog::accept() {
  std::vector<const Item*> items;
  for (const ItemId id : items_) items.push_back(findItem(id));
  std::erase(items, nullptr);
  const auto subFolders = subFolders_->isChecked() ? SubFolders::byKind : SubFolders::none;
  auto plan = planSaveEach(items, row(), textOf(folder_->text()), subFolders);
  session_.settings().app.lastPathOut = textOf(folder_->text());
  session_.settings().sall.subDirs = subFolders_->isChecked();
  // What the last try has written is done.
  std::map<Text, int> lines;
  for (std::size_t i = 0; i < plan.size(); ++i) lines[plan[i].path] = static_cast<int>(i);
  std::erase_if(plan, [this](const SavedItem& each) { return saved_.contains(each.path); });
  if (session_.saveEach(plan, row(), {})) return QDialog::accept();
  for (const SavedItem& each : plan) {
    if (each.failure.empty()) saved_.insert(each.path);
    if (QTableWidgetItem* state = table_->item(lines[each.path], 1)) showState(*state, each);
  }
}

}  // namespace tervo::ui
