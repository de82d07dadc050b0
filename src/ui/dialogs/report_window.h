#pragma once
// What an open, a save or an operation could not keep: to read, filter, copy and save.

#include <QAbstractTableModel>
#include <QDialog>
#include <memory>
#include <vector>

#include "core/report.h"

class QDialogButtonBox;
class QSortFilterProxyModel;
class QTableView;

namespace tervo::ui {

class SavedSounds;

class ReportModel final : public QAbstractTableModel {
  Q_OBJECT
 public:
  enum Column { item, what, kind, from, to, columns };
  explicit ReportModel(const ConversionReport& report, QObject* parent = nullptr);

  int rowCount(const QModelIndex& parent = {}) const override;
  int columnCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

 private:
  std::vector<ReportEntry> entries_;
};

class ReportWindow final : public QDialog {
  Q_OBJECT
 public:
  ReportWindow(const QString& doing, const ConversionReport& report, QWidget* parent);
  ~ReportWindow() override;

  /// Of the rows that the filter leaves: JSON when the name ends so, else comma-separated values. False with
  /// LastErrorText.
  bool saveAs(const QString& path) const;
  /// Tab-separated, for the clipboard.
  QString asText() const;
  void setFilter(const QString& text);
  /// Buttons that play what was saved and what the file holds of it: the item of the current row.
  void offerSounds(std::unique_ptr<SavedSounds> sounds);

 private:
  void chooseFile();
  void play(bool (SavedSounds::*which)(TextView name));

  QSortFilterProxyModel* shown_;
  QTableView* table_;
  QDialogButtonBox* buttons_;
  std::unique_ptr<SavedSounds> sounds_;
};

}  // namespace tervo::ui
