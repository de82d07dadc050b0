#include "ui/collection_tree.h"

#include <QHeaderView>
#include <QScrollBar>

#include "ui/collection_model.h"
#include "ui/document_session.h"
#include "ui/row_ranges.h"

namespace tervo::ui {

CollectionTree::CollectionTree(DocumentSession& session, QWidget* parent) : QTreeView(parent) {
  model_ = new CollectionModel(session.document(), session.settings(), this);
  setModel(model_);
  setHeaderHidden(true);
  setUniformRowHeights(true);
  setSelectionMode(ExtendedSelection);
  setExpandsOnDoubleClick(true);
  setAccessibleName(tr("Collection"));
  header()->setStretchLastSection(false);
  header()->setSectionResizeMode(QHeaderView::ResizeToContents);
  connect(this, &QTreeView::expanded, this,
          [this](const QModelIndex& index) { expanded_.insert(model_->itemAt(index)); });
  connect(this, &QTreeView::collapsed, this,
          [this](const QModelIndex& index) { expanded_.erase(model_->itemAt(index)); });
  expand(model_->index(0, 0));
}

std::vector<ItemId> CollectionTree::itemsOfSelection() const {
  std::set<ItemId> chosen;
  for (const QModelIndex& row : selectionModel()->selectedRows()) chosen.insert(model_->itemAt(row));
  std::vector<ItemId> items;
  if (!chosen.empty())
    model_->forEachItem([&](ItemId id) {
      if (chosen.contains(id)) items.push_back(id);
    });
  return items;
}

void CollectionTree::select(const std::vector<ItemId>& items) {
  const auto before = selected_;
  std::vector<QModelIndex> rows;
  QModelIndex first;
  for (const ItemId id : items) {
    const QModelIndex index = model_->indexOf(id);
    if (!index.isValid()) continue;
    if (!first.isValid()) first = index;
    rows.push_back(index);
  }
  selectionModel()->select(rowRanges(rows), QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
  if (first.isValid()) selectionModel()->setCurrentIndex(first, QItemSelectionModel::NoUpdate);
  // The other pane may have been chosen from meanwhile.
  if (!isRebuilding_ && selected_ == before) Q_EMIT selectedItemsChanged();
}

void CollectionTree::rebuild() {
  isRebuilding_ = true;
  const auto open = std::move(expanded_);
  const auto selected = std::move(selected_);
  expanded_.clear();
  model_->reset();
  expand(model_->index(0, 0));
  for (const ItemId id : open) {
    if (const QModelIndex index = model_->indexOf(id); index.isValid()) expand(index);
  }
  select(selected);
  isRebuilding_ = false;
  selected_ = itemsOfSelection();
}

void CollectionTree::scrollTo(const QModelIndex& index, ScrollHint hint) {
  const int across = horizontalScrollBar()->value();
  QTreeView::scrollTo(index, hint);
  horizontalScrollBar()->setValue(across);
}

void CollectionTree::refresh() {
  viewport()->update();
}

void CollectionTree::selectionChanged(const QItemSelection& selected, const QItemSelection& deselected) {
  QTreeView::selectionChanged(selected, deselected);
  if (isRebuilding_) return;
  selected_ = itemsOfSelection();
  Q_EMIT selectedItemsChanged();
}

}  // namespace tervo::ui
