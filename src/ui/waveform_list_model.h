#pragma once
// The waveforms of the document as a table. Sorting is a view's affair (QSortFilterProxyModel by Qt::UserRole).

#include <QAbstractTableModel>

#include "core/collection.h"
#include "core/settings.h"

namespace tervo::ui {

class WaveformListModel final : public QAbstractTableModel {
  Q_OBJECT
 public:
  enum Column { name, format, rate, key, length, columns };
  WaveformListModel(const Collection& document, const Settings& settings, QObject* parent = nullptr);

  void reset();
  void refresh();
  ItemId itemAt(int row) const;
  /// -1 when it is not there.
  int rowOf(ItemId id) const;

  int rowCount(const QModelIndex& parent = {}) const override;
  int columnCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

 private:
  const Collection& document_;
  const Settings& settings_;
};

/// "1:02.345", "0.345 s".
QString durationText(double seconds);

}  // namespace tervo::ui
