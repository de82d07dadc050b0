#include "ui/wave/marker_model.h"

#include "base/last_error.h"
#include "core/labels.h"
#include "core/parameter_access.h"
#include "core/parameter_input.h"
#include "ui/document_session.h"
#include "ui/property_model.h"
#include "ui/qt_text.h"

namespace tervo::ui {

MarkerModel::MarkerModel(DocumentSession& session, QObject* parent) : QAbstractTableModel(parent), session_(session) {}

ParameterId MarkerModel::rowOfColumn(int column) {
  constexpr ParameterId rows[columns] = {ParameterId::markerName, ParameterId::markerType, ParameterId::markerStart,
                                         ParameterId::markerEnd,  ParameterId::loopType,   ParameterId::loopCount,
                                         ParameterId::loopPitch};
  return rows[column];
}

void MarkerModel::setWaveform(ItemId id) {
  beginResetModel();
  waveform_ = id;
  const auto* waveform = findItem<Waveform>(waveform_);
  shownRows_ = waveform ? static_cast<int>(waveform->markers.size()) : 0;
  endResetModel();
}

void MarkerModel::refresh() {
  const auto* waveform = findItem<Waveform>(waveform_);
  if (shownRows_ != (waveform ? static_cast<int>(waveform->markers.size()) : 0)) return setWaveform(waveform_);
  if (shownRows_ > 0) Q_EMIT dataChanged(index(0, 0), index(shownRows_ - 1, columns - 1));
}

const Marker* MarkerModel::markerAt(const QModelIndex& index) const {
  const auto* waveform = findItem<Waveform>(waveform_);
  const auto i = static_cast<std::size_t>(index.row());
  return waveform && index.isValid() && i < waveform->markers.size() ? &waveform->markers[i] : nullptr;
}

int MarkerModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : shownRows_;
}

int MarkerModel::columnCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : columns;
}

QVariant MarkerModel::data(const QModelIndex& index, int role) const {
  const Marker* marker = markerAt(index);
  if (!marker) return {};
  const ParameterId row = rowOfColumn(index.column());
  if (role == PropertyModel::rowRole) return static_cast<int>(row);
  if (role != Qt::DisplayRole && role != Qt::EditRole) return {};
  if (index.column() == name)
    return role == Qt::EditRole ? qt(marker->name) : qt(markerLabel(*findItem<Waveform>(waveform_), *marker));
  if (index.column() == end && marker->type == MarkerType::position && role == Qt::DisplayRole) return {};
  if (index.column() >= loopType && marker->type != MarkerType::loop && role == Qt::DisplayRole) return {};
  const auto value = markerValue(*marker, row);
  return value ? shownNumber(row, *value, session_.settings()) : QString();
}

bool MarkerModel::setData(const QModelIndex& index, const QVariant& typed, int role) {
  if (!markerAt(index) || role != Qt::EditRole || typed.toString() == data(index, Qt::EditRole).toString())
    return false;
  const ParameterId row = rowOfColumn(index.column());
  const auto value = index.column() == name ? std::optional(0.0) : parseValue(row, textOf(typed.toString()));
  if (!value) return session_.host().showStatus(LastErrorText()), false;
  auto& marker = findItem<Waveform>(waveform_)->markers[static_cast<std::size_t>(index.row())];
  session_.history().editMarkers(waveform_, [&] {
    if (index.column() == name)
      marker.name = textOf(typed.toString());
    else
      setMarkerValue(marker, row, *value);
  });
  session_.announceChange();
  return true;
}

QVariant MarkerModel::headerData(int section, Qt::Orientation orientation, int role) const {
  if (role != Qt::DisplayRole) return {};
  if (orientation == Qt::Vertical) return section + 1;
  const QString titles[columns] = {tr("Name"), tr("Type"),  tr("Start"), tr("End"),
                                   tr("Loop"), tr("Count"), tr("Pitch")};
  return titles[section];
}

Qt::ItemFlags MarkerModel::flags(const QModelIndex& index) const {
  const Marker* marker = markerAt(index);
  if (!marker) return Qt::NoItemFlags;
  const bool isOfLoop = index.column() >= loopType;
  const bool means =
      isOfLoop ? marker->type == MarkerType::loop : index.column() != end || marker->type != MarkerType::position;
  return Qt::ItemIsSelectable | (means ? Qt::ItemIsEnabled | Qt::ItemIsEditable : Qt::NoItemFlags);
}

}  // namespace tervo::ui
