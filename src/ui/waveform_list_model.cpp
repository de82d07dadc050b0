#include "ui/waveform_list_model.h"

#include <cmath>

#include "core/parameter_lists.h"
#include "core/sample_format.h"
#include "ui/qt_text.h"

namespace tervo::ui {
namespace {

double secondsOf(const Waveform& waveform) {
  return waveform.sampleRate > 0 ? static_cast<double>(waveform.frames()) / waveform.sampleRate : 0;
}

QString keyText(const Waveform& waveform, const Settings& settings) {
  if (!settings.app.showNoteNames) return QString::number(waveform.rootKey);
  return qt(keyName(waveform.rootKey, settings.app.midIsNamedC3 ? MiddleC::c3 : MiddleC::c4));
}

QString shown(const Waveform& waveform, int column, const Settings& settings) {
  switch (column) {
    case WaveformListModel::name:
      return qt(waveform.name);
    case WaveformListModel::format: {
      const QString channels = waveform.channels() == 2 ? QStringLiteral(" stereo") : QString();
      return qt(nameOf(waveform.coding)) + channels;
    }
    case WaveformListModel::rate:
      return QString::number(waveform.sampleRate);
    case WaveformListModel::key:
      return keyText(waveform, settings);
    default:
      return durationText(secondsOf(waveform));
  }
}

QVariant sortKey(const Waveform& waveform, int column, const Settings& settings) {
  switch (column) {
    case WaveformListModel::rate:
      return waveform.sampleRate;
    case WaveformListModel::key:
      return waveform.rootKey;
    case WaveformListModel::length:
      return secondsOf(waveform);
    default:
      return shown(waveform, column, settings);
  }
}

}  // namespace

QString durationText(double seconds) {
  if (seconds < 60) return QStringLiteral("%1 s").arg(seconds, 0, 'f', 3);
  const int minutes = static_cast<int>(seconds / 60);
  return QStringLiteral("%1:%2").arg(minutes).arg(seconds - 60 * minutes, 6, 'f', 3, u'0');
}

WaveformListModel::WaveformListModel(const Collection& document, const Settings& settings, QObject* parent)
    : QAbstractTableModel(parent), document_(document), settings_(settings) {}

void WaveformListModel::reset() {
  beginResetModel();
  endResetModel();
}

void WaveformListModel::refresh() {
  if (const int rows = rowCount()) Q_EMIT dataChanged(index(0, 0), index(rows - 1, columns - 1));
}

ItemId WaveformListModel::itemAt(int row) const {
  const auto all = document_.waveforms();
  const auto i = static_cast<std::size_t>(row);
  return row >= 0 && i < all.size() ? all[i]->id() : noItem;
}

int WaveformListModel::rowOf(ItemId id) const {
  const auto all = document_.waveforms();
  for (std::size_t i = 0; i < all.size(); ++i) {
    if (all[i]->id() == id) return static_cast<int>(i);
  }
  return -1;
}

int WaveformListModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(document_.waveforms().size());
}

int WaveformListModel::columnCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : columns;
}

QVariant WaveformListModel::data(const QModelIndex& index, int role) const {
  const auto* waveform = findItem<Waveform>(itemAt(index.row()));
  if (!waveform) return {};
  if (role == Qt::DisplayRole || role == Qt::ToolTipRole) return shown(*waveform, index.column(), settings_);
  if (role == Qt::UserRole) return sortKey(*waveform, index.column(), settings_);
  if (role == Qt::TextAlignmentRole && index.column() >= rate) return {Qt::AlignRight | Qt::AlignVCenter};
  return {};
}

QVariant WaveformListModel::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal || role != Qt::DisplayRole) return {};
  const QString titles[columns] = {tr("Waveform"), tr("Format"), tr("Rate"), tr("Key"), tr("Length")};
  return titles[section];
}

}  // namespace tervo::ui
