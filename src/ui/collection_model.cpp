#include "ui/collection_model.h"

#include <algorithm>

#include "core/labels.h"
#include "core/levels.h"
#include "core/parameter_lists.h"
#include "ui/qt_text.h"

namespace tervo::ui {
namespace {

// An index carries the identifier of its item. The row of all waveforms has none.
constexpr quintptr allWaveforms = 0xFFFFFFFF;

/// The collection's children: instruments, the row of all waveforms, songs.
int childCount(const Collection& collection) {
  return static_cast<int>(collection.instruments().size() + 1 + collection.songs().size());
}

int childCount(const Item& item) {
  switch (item.kind()) {
    case ItemKind::collection:
      return childCount(static_cast<const Collection&>(item));
    case ItemKind::instrument:
      return static_cast<int>(static_cast<const Instrument&>(item).layers().size());
    case ItemKind::layer:
      return static_cast<int>(static_cast<const Layer&>(item).regions().size());
    case ItemKind::song:
      return static_cast<int>(static_cast<const Song&>(item).tracks().size());
    default:
      return 0;
  }
}

/// Null for the row of all waveforms.
const Item* childOf(const Item& item, std::size_t row) {
  switch (item.kind()) {
    case ItemKind::collection: {
      const auto& collection = static_cast<const Collection&>(item);
      const std::size_t instruments = collection.instruments().size();
      if (row < instruments) return collection.instruments()[row].get();
      return row == instruments ? nullptr : collection.songs()[row - instruments - 1].get();
    }
    case ItemKind::instrument:
      return static_cast<const Instrument&>(item).layers()[row].get();
    case ItemKind::layer:
      return static_cast<const Layer&>(item).regions()[row].get();
    default:
      return static_cast<const Song&>(item).tracks()[row].get();
  }
}

void visitBelow(const Item& item, const std::function<void(ItemId)>& visit) {
  visit(item.id());
  for (int row = 0; row < childCount(item); ++row) {
    if (const Item* child = childOf(item, static_cast<std::size_t>(row))) visitBelow(*child, visit);
  }
}

QString beforeTab(const Text& label) {
  return qt(TextView(label).substr(0, label.find(u'\t')));
}
QString behindTab(const Text& label) {
  return qt(TextView(label).substr(std::min(label.find(u'\t'), label.size() - 1) + 1));
}

QString rangeText(Range range, bool areKeys, const Settings& settings) {
  const MiddleC middleC = settings.app.midIsNamedC3 ? MiddleC::c3 : MiddleC::c4;
  const auto text = [&](int value) {
    return areKeys && settings.app.showNoteNames ? qt(keyName(value, middleC)) : QString::number(value);
  };
  return range.low == range.high ? text(range.low) : text(range.low) + QStringLiteral("..") + text(range.high);
}

}  // namespace

QString numberPrefix(const Instrument& instrument, const Settings& settings) {
  if (!settings.app.dispBankPrgs) return {};
  const auto three = [](int number) { return QString::number(number).rightJustified(3, u'0'); };
  QString text = three(instrument.bankMsb);
  if (settings.app.dispLoBank) text += u':' + three(instrument.bankLsb);
  text += u':' + three(instrument.program) + u' ';
  return instrument.drum ? QStringLiteral("D ") + text : text;
}

QString regionName(const Region& region, const Settings& settings) {
  const auto* waveform = findItem<Waveform>(region.waveform);
  const QString name = waveform ? qt(waveform->name) : CollectionModel::tr("<no waveform>");
  return QStringLiteral("%1  %2").arg(rangeText(keyRange(region), true, settings), name);
}

CollectionModel::CollectionModel(const Collection& document, const Settings& settings, QObject* parent)
    : QAbstractItemModel(parent), document_(document), settings_(settings) {}

void CollectionModel::reset() {
  beginResetModel();
  endResetModel();
}

void CollectionModel::refresh() {
  // Views ask anew only for what they show.
  Q_EMIT layoutChanged();
}

ItemId CollectionModel::itemAt(const QModelIndex& index) const {
  return index.isValid() ? ItemId{static_cast<uint32_t>(index.internalId())} : noItem;
}

int CollectionModel::rowOf(const Item& item) const {
  const Item* parent = item.parent();
  if (!parent) return 0;
  const int rows = childCount(*parent);
  for (int row = 0; row < rows; ++row) {
    if (childOf(*parent, static_cast<std::size_t>(row)) == &item) return row;
  }
  return -1;
}

QModelIndex CollectionModel::indexOf(ItemId id) const {
  const Item* item = findItem(id);
  if (!item || item->kind() == ItemKind::waveform || item->kind() == ItemKind::synth) return {};
  const int row = rowOf(*item);
  return row < 0 ? QModelIndex() : createIndex(row, 0, static_cast<quintptr>(id));
}

void CollectionModel::forEachItem(const std::function<void(ItemId)>& visit) const {
  visitBelow(document_, visit);
}

QModelIndex CollectionModel::index(int row, int column, const QModelIndex& parent) const {
  if (!hasIndex(row, column, parent)) return {};
  if (!parent.isValid()) return createIndex(row, column, static_cast<quintptr>(document_.id()));
  const Item* item = findItem(itemAt(parent));
  const Item* child = item ? childOf(*item, static_cast<std::size_t>(row)) : nullptr;
  return createIndex(row, column, child ? static_cast<quintptr>(child->id()) : allWaveforms);
}

QModelIndex CollectionModel::parent(const QModelIndex& index) const {
  if (!index.isValid() || index.internalId() == static_cast<quintptr>(document_.id())) return {};
  if (index.internalId() == allWaveforms) return createIndex(0, 0, static_cast<quintptr>(document_.id()));
  const Item* item = findItem(itemAt(index));
  const Item* parent = item ? item->parent() : nullptr;
  return parent ? createIndex(rowOf(*parent), 0, static_cast<quintptr>(parent->id())) : QModelIndex();
}

int CollectionModel::rowCount(const QModelIndex& parent) const {
  if (!parent.isValid()) return 1;
  if (parent.column() > 0) return 0;
  const Item* item = findItem(itemAt(parent));
  return item ? childCount(*item) : 0;
}

int CollectionModel::columnCount(const QModelIndex&) const {
  return columns;
}

QString CollectionModel::nameOf(const Item& item, int row) const {
  switch (item.kind()) {
    case ItemKind::collection:
      return qt(static_cast<const Collection&>(item).name);
    case ItemKind::instrument: {
      const auto& instrument = static_cast<const Instrument&>(item);
      return numberPrefix(instrument, settings_) + qt(instrument.name);
    }
    case ItemKind::layer:
      return tr("Layer %1").arg(row + 1);
    case ItemKind::region:
      return regionName(static_cast<const Region&>(item), settings_);
    case ItemKind::song:
      return qt(static_cast<const Song&>(item).name);
    default:
      return qt(static_cast<const Track&>(item).name);
  }
}

QString CollectionModel::numberOf(const Item& item, int row) const {
  if (item.kind() == ItemKind::instrument) return beforeTab(treeLabel(row + 1, static_cast<const Instrument&>(item)));
  if (item.kind() != ItemKind::song) return {};
  // Instruments and the row of all waveforms stand before the first song.
  const int before = static_cast<int>(document_.instruments().size()) + 1;
  return beforeTab(treeLabel(row - before + 1, static_cast<const Song&>(item)));
}

QString CollectionModel::countOf(const Item& item) const {
  switch (item.kind()) {
    case ItemKind::instrument:
      return behindTab(treeLabel(0, static_cast<const Instrument&>(item)));
    case ItemKind::song:
      return behindTab(treeLabel(0, static_cast<const Song&>(item)));
    case ItemKind::layer:
      return tr("(%1 regions)").arg(static_cast<const Layer&>(item).regions().size());
    case ItemKind::region: {
      const Range velocities = velocityRange(static_cast<const Region&>(item));
      return velocities == Range{} ? QString() : tr("vel. %1").arg(rangeText(velocities, false, settings_));
    }
    default:
      return {};
  }
}

QVariant CollectionModel::data(const QModelIndex& index, int role) const {
  if (role == Qt::TextAlignmentRole && index.column() == number) return int(Qt::AlignRight | Qt::AlignVCenter);
  if (role != Qt::DisplayRole && role != Qt::ToolTipRole) return {};
  if (index.internalId() == allWaveforms) {
    if (index.column() == name) return tr("Waveforms");
    const Text label = treeLabel(document_.waveforms());
    return index.column() == number ? beforeTab(label) : behindTab(label);
  }
  const Item* item = findItem(itemAt(index));
  if (!item) return {};
  if (index.column() == name) return nameOf(*item, index.row());
  return index.column() == number ? numberOf(*item, index.row()) : countOf(*item);
}

Qt::ItemFlags CollectionModel::flags(const QModelIndex& index) const {
  return index.isValid() ? Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsDragEnabled : Qt::NoItemFlags;
}

}  // namespace tervo::ui
