#include "ui/file_dialogs.h"

#include <QComboBox>
#include <QFileDialog>
#include <QFileInfo>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <algorithm>

#include "formats/detection.h"
#include "formats/save_each.h"
#include "platform/file.h"
#include "ui/qt_text.h"

namespace tervo::ui {
namespace {

uint8_t kindsThatHold(ItemKind kind) {
  switch (kind) {
    case ItemKind::synth:
    case ItemKind::region:
    case ItemKind::layer:
      return kindBit(ItemKind::instrument);
    case ItemKind::track:
      return kindBit(ItemKind::song);
    case ItemKind::song:
      return kindBit(ItemKind::song) | kindBit(ItemKind::waveform);
    default:
      return kindBit(kind);
  }
}

/// "*.wav" and the like; a row whose extension has wildcards keeps them.
QString filterOf(FormatIndex row) {
  return QStringLiteral("%1 (*.%2)").arg(formatTitle(row), qt(rowAt(row)->extension));
}

/// Adds a labelled line below the file list.
QLabel* addLine(QFileDialog& dialog, const QString& label) {
  auto* grid = qobject_cast<QGridLayout*>(dialog.layout());
  auto* value = new QLabel(&dialog);
  value->setTextFormat(Qt::PlainText);
  if (!grid) return value;
  const int row = grid->rowCount();
  grid->addWidget(new QLabel(label, &dialog), row, 0);
  grid->addWidget(value, row, 1);
  return value;
}

/// Its names always end in an extension: "Piano v1.2" is not of the kind "2".
class SaveDialog final : public QFileDialog {
 public:
  SaveDialog(QWidget* parent, const QString& title, const QString& folder, std::vector<FormatIndex> rows)
      : QFileDialog(parent, title, folder), rows_(std::move(rows)) {
    setOption(DontUseNativeDialog);
    setAcceptMode(AcceptSave);
    QStringList filters;
    for (const FormatIndex row : rows_) filters.push_back(filterOf(row));
    setNameFilters(filters);
    filter_ = findChild<QComboBox*>(QStringLiteral("fileTypeCombo"));
    name_ = findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
  }

  void choose(FormatIndex row, const QString& name) {
    const auto found = std::find(rows_.begin(), rows_.end(), row);
    if (filter_ && found != rows_.end()) {
      filter_->setCurrentIndex(static_cast<int>(found - rows_.begin()));
      Q_EMIT filter_->activated(filter_->currentIndex());
    }
    selectFile(withExtension(qt(fileNameFor(textOf(name)))));
  }

  /// By its place: some titles are borne by two rows.
  FormatIndex row() const {
    const qsizetype index = filter_ ? filter_->currentIndex() : nameFilters().indexOf(selectedNameFilter());
    return index < 0 ? noFormat : rows_[static_cast<std::size_t>(index)];
  }

  void accept() override {
    const bool isFolder = name_ && QFileInfo(directory(), name_->text()).isDir();
    if (name_ && !name_->text().isEmpty() && !isFolder && row() != noFormat) {
      name_->setText(withExtension(name_->text()));
      followExtension(QFileInfo(name_->text()).suffix());
    }
    QFileDialog::accept();
  }

 private:
  QString withExtension(const QString& name) const {
    const QString suffix = QFileInfo(name).suffix();
    const QString extension = row() == noFormat ? QString() : qt(rowAt(row())->extension);
    const bool isKnown = !suffix.isEmpty() && std::any_of(rows_.begin(), rows_.end(), [&](FormatIndex each) {
      return suffix.compare(qt(rowAt(each)->extension), Qt::CaseInsensitive) == 0;
    });
    const bool isPattern = extension.isEmpty() || extension.contains(u'*') || extension.contains(u'?');
    return isKnown || isPattern ? name : name + u'.' + extension;
  }

  /// A name that ends as files of another format do is meant so.
  void followExtension(const QString& suffix) {
    const auto endsSo = [&](FormatIndex each) {
      return suffix.compare(qt(rowAt(each)->extension), Qt::CaseInsensitive) == 0;
    };
    const auto meant = std::find_if(rows_.begin(), rows_.end(), endsSo);
    if (meant != rows_.end() && !endsSo(row())) filter_->setCurrentIndex(static_cast<int>(meant - rows_.begin()));
  }

  std::vector<FormatIndex> rows_;
  QComboBox* filter_;
  QLineEdit* name_;
};

void showDetection(const QString& path, QLabel& format, QLabel& confidence) {
  format.clear();
  confidence.clear();
  if (!QFileInfo(path).isFile()) return;
  const auto file = platform::InputFile::open(textOf(path));
  if (!file) return;
  const Detection found = DetectFormat(textOf(path), *file);
  format.setText(qt(descriptionOf(found.index)));
  if (found.index != noFormat) confidence.setText(QStringLiteral("%1 %").arg(found.confidence));
}

}  // namespace

QString formatTitle(FormatIndex row) {
  const FormatDescriptor* facts = rowAt(row);
  return QStringLiteral("%1 - %2").arg(qt(facts->extension), qt(facts->description));
}

std::vector<FormatIndex> rowsToSave(ItemKind kind) {
  std::vector<FormatIndex> rows;
  const auto& table = FormatTable();
  for (std::size_t i = 0; i < table.size(); ++i) {
    if (table[i].write && (table[i].kindMask & kindsThatHold(kind))) rows.push_back(static_cast<FormatIndex>(i));
  }
  return rows;
}

std::vector<Text> chooseFilesToOpen(QWidget* parent, const QString& title, Settings& settings) {
  QFileDialog dialog(parent, title, qt(settings.app.lastPathIn));
  dialog.setOption(QFileDialog::DontUseNativeDialog);
  dialog.setFileMode(QFileDialog::ExistingFiles);
  QLabel* format = addLine(dialog, QStringLiteral("File format:"));
  QLabel* confidence = addLine(dialog, QStringLiteral("Confidence:"));
  QObject::connect(&dialog, &QFileDialog::currentChanged,
                   [=](const QString& path) { showDetection(path, *format, *confidence); });
  if (dialog.exec() != QDialog::Accepted) return {};
  settings.app.lastPathIn = pathOf(dialog.directory().absolutePath());
  std::vector<Text> paths;
  for (const QString& path : dialog.selectedFiles()) paths.push_back(pathOf(path));
  return paths;
}

std::optional<SaveChoice> chooseFileToSave(QWidget* parent, const QString& title, ItemKind kind, const QString& name,
                                           Settings& settings, FormatIndex source) {
  // What was saved last in this kind comes first.
  int32_t& last = settings.app.lastExp[static_cast<std::size_t>(kind) % settings.app.lastExp.size()];
  SaveDialog dialog(parent, title, qt(settings.app.lastPathOut), rowsToSave(kind));
  dialog.choose(last > 0 ? last - 1 : source, name);
  if (dialog.exec() != QDialog::Accepted) return std::nullopt;
  settings.app.lastPathOut = pathOf(dialog.directory().absolutePath());
  last = dialog.row() + 1;
  return SaveChoice{pathOf(dialog.selectedFiles().value(0)), dialog.row()};
}

}  // namespace tervo::ui
