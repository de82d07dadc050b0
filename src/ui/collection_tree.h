#pragma once
// The tree of the document with its selection.

#include <QTreeView>
#include <set>
#include <vector>

#include "core/item.h"

namespace tervo::ui {

class CollectionModel;
class DocumentSession;

class CollectionTree final : public QTreeView {
  Q_OBJECT
 public:
  explicit CollectionTree(DocumentSession& session, QWidget* parent = nullptr);

  /// In display order; without the row of all waveforms.
  const std::vector<ItemId>& selectedItems() const { return selected_; }
  void select(const std::vector<ItemId>& items);
  /// Items have come or gone: what is still there stays selected and open.
  void rebuild();
  void refresh();
  /// Names stay in sight: only up and down.
  void scrollTo(const QModelIndex& index, ScrollHint hint = EnsureVisible) override;

 Q_SIGNALS:
  /// By the user or by select(); not by rebuild().
  void selectedItemsChanged();

 protected:
  void selectionChanged(const QItemSelection& selected, const QItemSelection& deselected) override;

 private:
  std::vector<ItemId> itemsOfSelection() const;

  CollectionModel* model_;
  // By identifier: what the view itself keeps goes by rows, which are others once the document has changed.
  std::vector<ItemId> selected_;
  std::set<ItemId> expanded_;
  bool isRebuilding_ = false;
};

}  // namespace tervo::ui
