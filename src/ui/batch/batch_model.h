#pragma once
// What a batch has done so far, one row for each file in each format.

#include <QAbstractTableModel>
#include <vector>

#include "formats/batch/batch.h"

namespace tervo::ui {

class BatchModel final : public QAbstractTableModel {
  Q_OBJECT
 public:
  enum Column { source, target, format, state, cause, columns };
  using QAbstractTableModel::QAbstractTableModel;

  /// Borrows the entries, which stay where they are until the next call.
  void setEntries(const std::vector<BatchEntry>* entries);
  void changed(const std::vector<std::size_t>& rows);

  int rowCount(const QModelIndex& parent = {}) const override;
  int columnCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

 private:
  const std::vector<BatchEntry>* entries_ = nullptr;
};

/// "12 converted, 3 not recognised, 1 failed"; before anything has run, "16 to convert".
QString summaryOf(const std::vector<BatchEntry>& entries);

}  // namespace tervo::ui
