#include "ui/file_dialogs.h"

#include <QFileDialog>
#include <QFileInfo>
#include <QGridLayout>
#include <QLabel>
#include <algorithm>

#include "formats/detection.h"
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
  settings.app.lastPathIn = textOf(dialog.directory().absolutePath());
  std::vector<Text> paths;
  for (const QString& path : dialog.selectedFiles()) paths.push_back(textOf(path));
  return paths;
}

std::optional<SaveChoice> chooseFileToSave(QWidget* parent, const QString& title, ItemKind kind, const QString& name,
                                           Settings& settings) {
  const auto rows = rowsToSave(kind);
  QStringList filters;
  for (const FormatIndex row : rows) filters.push_back(filterOf(row));
  QFileDialog dialog(parent, title, qt(settings.app.lastPathOut));
  dialog.setOption(QFileDialog::DontUseNativeDialog);
  dialog.setAcceptMode(QFileDialog::AcceptSave);
  dialog.setNameFilters(filters);
  QString safeName = name;
  for (const QChar bad : QStringLiteral("/\\:*?\"<>|")) safeName.replace(bad, u'_');
  dialog.selectFile(safeName);
  // What was saved last in this kind comes first.
  const int32_t last = settings.app.lastExp[static_cast<std::size_t>(kind) % settings.app.lastExp.size()];
  if (const auto it = std::find(rows.begin(), rows.end(), last - 1); it != rows.end())
    dialog.selectNameFilter(filters[it - rows.begin()]);
  const auto chosenRow = [&] { return rows[static_cast<std::size_t>(filters.indexOf(dialog.selectedNameFilter()))]; };
  const auto followRow = [&] { dialog.setDefaultSuffix(qt(rowAt(chosenRow())->extension)); };
  followRow();
  QObject::connect(&dialog, &QFileDialog::filterSelected, followRow);
  if (dialog.exec() != QDialog::Accepted) return std::nullopt;
  settings.app.lastPathOut = textOf(dialog.directory().absolutePath());
  settings.app.lastExp[static_cast<std::size_t>(kind) % settings.app.lastExp.size()] = chosenRow() + 1;
  return SaveChoice{textOf(dialog.selectedFiles().value(0)), chosenRow()};
}

}  // namespace tervo::ui
