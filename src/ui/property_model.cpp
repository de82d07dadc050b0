#include "ui/property_model.h"

#include <QFont>
#include <QGuiApplication>
#include <QPalette>
#include <algorithm>
#include <cmath>

#include "base/last_error.h"
#include "core/parameter_access.h"
#include "core/parameter_input.h"
#include "ui/qt_text.h"

namespace tervo::ui {
namespace {

// An index of a row carries its group's number plus 1; that of a group carries 0.
constexpr quintptr isGroup = 0;

constexpr CapabilitySet everything = CapabilitySet::fromBits(~uint64_t{0});

}  // namespace

double stepped(const ParameterRow& row, double value, double steps) {
  switch (row.editor) {
    case EditorKind::factor:
      return std::max(value, 0.001) * std::exp2(steps / 12);
    case EditorKind::time:
      return std::abs(value) < 0.001 && steps > 0 ? 0.001 * std::pow(1.1, steps) : value * std::pow(1.1, steps);
    case EditorKind::bipolar:
    case EditorKind::level:
      return value + steps / 100;
    default:
      return value + steps;
  }
}

PropertyModel::PropertyModel(DocumentSession& session, QObject* parent)
    : QAbstractItemModel(parent), session_(session), target_(everything) {}

void PropertyModel::setItems(std::vector<ItemId> items) {
  beginResetModel();
  items_ = std::move(items);
  uint8_t kinds = 0;
  for (const ItemId id : items_) kinds = static_cast<uint8_t>(kinds | kindBit(kindOf(id)));
  groups_.clear();
  for (const PropertyGroup& group : propertyGroups()) {
    Group shown{tr(group.title), {}};
    for (auto row = static_cast<int>(group.first); row <= static_cast<int>(group.last); ++row) {
      const auto id = static_cast<ParameterId>(row);
      for (int kind = 0; kind < itemKindCount; ++kind) {
        if (!(kinds & (1 << kind)) || !hasRow(static_cast<ItemKind>(kind), id)) continue;
        shown.rows.push_back(id);
        break;
      }
    }
    if (!shown.rows.empty()) groups_.push_back(std::move(shown));
  }
  endResetModel();
}

void PropertyModel::setTarget(CapabilitySet target) {
  target_ = target;
  refresh();
}

void PropertyModel::refresh() {
  std::erase_if(items_, [](ItemId id) { return !findItem(id); });
  for (int group = 0; group < static_cast<int>(groups_.size()); ++group) {
    const QModelIndex parent = index(group, 0);
    const int rows = rowCount(parent);
    Q_EMIT dataChanged(index(0, 0, parent), index(rows - 1, columns - 1, parent));
  }
}

std::optional<ParameterId> PropertyModel::rowAt(const QModelIndex& index) const {
  if (!index.isValid() || index.internalId() == isGroup) return std::nullopt;
  return groups_[index.internalId() - 1].rows[static_cast<std::size_t>(index.row())];
}

QModelIndex PropertyModel::indexOf(ParameterId row) const {
  for (std::size_t group = 0; group < groups_.size(); ++group) {
    const auto& rows = groups_[group].rows;
    const auto found = std::find(rows.begin(), rows.end(), row);
    if (found != rows.end()) return createIndex(static_cast<int>(found - rows.begin()), value, quintptr{group + 1});
  }
  return {};
}

void PropertyModel::change(ParameterId row, uint64_t gesture, const std::function<void(ItemId)>& changeItem) {
  const QString label = tr("Edit %1").arg(qt(rowOf(row).name));
  session_.edit(items_, label,
                [&] {
                  for (const ItemId id : items_) changeItem(id);
                },
                {gesture, row});
}

bool PropertyModel::setNumber(ParameterId row, double number, uint64_t gesture) {
  const auto propagation = session_.settings().app.propagateDownDelta ? Propagation::deltaDownwards : Propagation::none;
  change(row, gesture, [&](ItemId id) { setParameterValue(id, row, number, propagation); });
  return true;
}

bool PropertyModel::setText(ParameterId row, const QString& text) {
  if (rowOf(row).has(ParameterFlags::Textual)) {
    change(row, 0, [&](ItemId id) { setParameterText(id, row, textOf(text)); });
    return true;
  }
  if (text.trimmed().isEmpty()) return resetToDefault(row), true;
  const auto number = parseValue(row, textOf(text), session_.settings().app.midIsNamedC3 ? MiddleC::c3 : MiddleC::c4);
  if (!number) return session_.host().showStatus(LastErrorText()), false;
  return setNumber(row, *number);
}

void PropertyModel::setNumbers(std::span<const std::pair<ParameterId, double>> numbers, const QString& what,
                               uint64_t gesture) {
  const auto propagation = session_.settings().app.propagateDownDelta ? Propagation::deltaDownwards : Propagation::none;
  const auto changeAll = [&] {
    for (const ItemId id : items_) {
      for (const auto& [row, number] : numbers) setParameterValue(id, row, number, propagation);
    }
  };
  session_.edit(items_, tr("Edit %1").arg(what), changeAll, {gesture, numbers.front().first});
}

void PropertyModel::resetToDefault(std::span<const ParameterId> rows) {
  change(rows.front(), 0, [&](ItemId id) {
    for (const ParameterId row : rows) {
      if (!clearParameterValue(id, row)) setParameterValue(id, row, double{rowOf(row).defaultValue});
    }
  });
}

void PropertyModel::stepBy(ParameterId row, double steps, uint64_t gesture) {
  const auto propagation = session_.settings().app.propagateDownDelta ? Propagation::deltaDownwards : Propagation::none;
  change(row, gesture, [&](ItemId id) {
    setParameterValue(id, row, stepped(rowOf(row), effectiveNumber(id, row), steps), propagation);
  });
}

bool PropertyModel::isAvailableAt(ParameterId row) const {
  return std::any_of(items_.begin(), items_.end(), [&](ItemId id) { return isAvailable(target_, kindOf(id), row); });
}

QModelIndex PropertyModel::index(int row, int column, const QModelIndex& parent) const {
  if (!hasIndex(row, column, parent)) return {};
  return createIndex(row, column, parent.isValid() ? static_cast<quintptr>(parent.row()) + 1 : isGroup);
}

QModelIndex PropertyModel::parent(const QModelIndex& index) const {
  if (!index.isValid() || index.internalId() == isGroup) return {};
  return createIndex(static_cast<int>(index.internalId()) - 1, 0, isGroup);
}

int PropertyModel::rowCount(const QModelIndex& parent) const {
  if (!parent.isValid()) return static_cast<int>(groups_.size());
  if (parent.internalId() != isGroup || parent.column() > 0) return 0;
  return static_cast<int>(groups_[static_cast<std::size_t>(parent.row())].rows.size());
}

int PropertyModel::columnCount(const QModelIndex&) const {
  return columns;
}

QVariant PropertyModel::rowData(ParameterId row, int column, int role) const {
  if (role == rowRole) return static_cast<int>(row);
  if (role == Qt::ToolTipRole || role == Qt::StatusTipRole) {
    QString tip = qt(rowOf(row).name);
    if (!rowOf(row).hint.empty()) tip += u'\n' + qt(rowOf(row).hint);
    return rowOf(row).has(ParameterFlags::Textual) ? tip : tip + u'\n' + qt(rangeText(row));
  }
  if (column == name) return role == Qt::DisplayRole ? QVariant(qt(rowOf(row).name)) : QVariant();
  const bool asksForValue = role == Qt::DisplayRole || role == Qt::EditRole || role == numberRole ||
                            role == inheritedRole || role == Qt::FontRole || role == Qt::ForegroundRole;
  if (!asksForValue) return {};
  const PropertyValue shown = propertyValue(items_, row, session_.settings());
  switch (role) {
    case numberRole:
      return shown.number ? QVariant(*shown.number) : QVariant();
    case inheritedRole:
      return shown.isInherited;
    case Qt::FontRole: {
      QFont font;
      font.setItalic(shown.isInherited);
      return font;
    }
    case Qt::ForegroundRole:
      return shown.isInherited ? QVariant(QGuiApplication::palette().color(QPalette::PlaceholderText)) : QVariant();
    default:
      return shown.text;
  }
}

QVariant PropertyModel::data(const QModelIndex& index, int role) const {
  if (!index.isValid()) return {};
  if (const auto row = rowAt(index)) return rowData(*row, index.column(), role);
  if (index.column() != name) return {};
  if (role == Qt::DisplayRole) return groups_[static_cast<std::size_t>(index.row())].title;
  if (role != Qt::FontRole) return {};
  QFont font;
  font.setBold(true);
  return font;
}

bool PropertyModel::setData(const QModelIndex& index, const QVariant& typed, int role) {
  const auto row = rowAt(index);
  if (!row || role != Qt::EditRole) return false;
  const PropertyValue before = propertyValue(items_, *row, session_.settings());
  return typed.toString() == before.text || setText(*row, typed.toString());
}

QVariant PropertyModel::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal || role != Qt::DisplayRole) return {};
  return section == name ? tr("Parameter") : tr("Value");
}

Qt::ItemFlags PropertyModel::flags(const QModelIndex& index) const {
  const auto row = rowAt(index);
  if (!row) return Qt::ItemIsEnabled;
  Qt::ItemFlags flags = Qt::ItemIsSelectable | Qt::ItemNeverHasChildren;
  if (isAvailableAt(*row)) flags |= Qt::ItemIsEnabled;
  if (index.column() == value && rowOf(*row).editor != EditorKind::picture) flags |= Qt::ItemIsEditable;
  return flags;
}

}  // namespace tervo::ui
