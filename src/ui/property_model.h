#pragma once
// The rows of the selected items, in groups, with their values: what the property pane shows and edits.

#include <QAbstractItemModel>
#include <vector>

#include "core/capabilities.h"
#include "core/parameter_table.h"
#include "ui/document_session.h"
#include "ui/property_rows.h"

namespace tervo::ui {

class PropertyModel final : public QAbstractItemModel {
  Q_OBJECT
 public:
  enum Column { name, value, columns };
  enum Role { rowRole = Qt::UserRole, numberRole, inheritedRole };
  explicit PropertyModel(DocumentSession& session, QObject* parent = nullptr);

  void setItems(std::vector<ItemId> items);
  const std::vector<ItemId>& items() const { return items_; }
  /// Rows that the target cannot hold are greyed.
  void setTarget(CapabilitySet target);
  /// Values may have changed.
  void refresh();

  /// The row of an index; nothing for a group.
  std::optional<ParameterId> rowAt(const QModelIndex& index) const;
  QModelIndex indexOf(ParameterId row) const;

  // Edits of all items, one undo step each; those of one gesture are one step together.
  bool setText(ParameterId row, const QString& text);
  bool setNumber(ParameterId row, double number, uint64_t gesture = 0);
  /// Several rows together; `what` names them in the undo list. A gesture has the same first row all along.
  void setNumbers(std::span<const std::pair<ParameterId, double>> numbers, const QString& what, uint64_t gesture);
  /// Leaves the rows to the levels above, or gives them their defaults where there are none.
  void resetToDefault(std::span<const ParameterId> rows);
  void resetToDefault(ParameterId row) { resetToDefault({&row, 1}); }
  /// Moves each item's own value by so many steps; a step is what the row's editor moves by.
  void stepBy(ParameterId row, double steps, uint64_t gesture);

  QModelIndex index(int row, int column, const QModelIndex& parent = {}) const override;
  QModelIndex parent(const QModelIndex& index) const override;
  int rowCount(const QModelIndex& parent = {}) const override;
  int columnCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  bool setData(const QModelIndex& index, const QVariant& typed, int role) override;
  QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
  Qt::ItemFlags flags(const QModelIndex& index) const override;

 private:
  struct Group {
    QString title;
    std::vector<ParameterId> rows;
  };
  void change(ParameterId row, uint64_t gesture, const std::function<void(ItemId)>& changeItem);
  bool isAvailableAt(ParameterId row) const;
  QVariant rowData(ParameterId row, int column, int role) const;

  DocumentSession& session_;
  std::vector<ItemId> items_;
  std::vector<Group> groups_;
  CapabilitySet target_;
};

/// The value a number of steps away: semitones and decibels by one, frequencies by a semitone, times by a tenth,
/// fractions by a hundredth.
double stepped(const ParameterRow& row, double value, double steps);

}  // namespace tervo::ui
