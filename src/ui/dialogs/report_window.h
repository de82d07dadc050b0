#pragma once
// What an open, a save or an operation could not keep: to read, filter, copy and save.

#include <QAbstractTableModel>
#include <QDialog>
#include <vector>

#include "core/report.h"

class QSortFilterProxyModel;
class QTableView;

namespace tervo::ui {

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

  /// Of the rows that the filter leaves: JSON when the name ends so, else comma-separated values. False with
  /// LastErrorText.
  bool saveAs(const QString& path) const;
  /// Tab-separated, for the clipboard.
  QString asText() const;
  void setFilter(const QString& text);

 private:
  void chooseFile();

  QSortFilterProxyModel* shown_;
  QTableView* table_;
};

}  // namespace tervo::ui
