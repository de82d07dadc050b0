#pragma once
// The markers of a waveform as an editable table.

#include <QAbstractTableModel>

#include "core/parameter_id.h"
#include "core/waveform.h"

namespace tervo::ui {

class DocumentSession;

class MarkerModel final : public QAbstractTableModel {
  Q_OBJECT
 public:
  enum Column { name, type, start, end, loopType, loopCount, pitch, columns };
  explicit MarkerModel(DocumentSession& session, QObject* parent = nullptr);

  void setWaveform(ItemId id);
  /// Markers have changed.
  void refresh();
  /// What a column edits.
  static ParameterId rowOfColumn(int column);

  int rowCount(const QModelIndex& parent = {}) const override;
  int columnCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  bool setData(const QModelIndex& index, const QVariant& typed, int role) override;
  QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
  Qt::ItemFlags flags(const QModelIndex& index) const override;

 private:
  const Marker* markerAt(const QModelIndex& index) const;

  DocumentSession& session_;
  ItemId waveform_ = noItem;
  int shownRows_ = 0;
};

}  // namespace tervo::ui
