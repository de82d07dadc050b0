#pragma once
// The list of waveforms: sorted by its columns, whose widths are kept in the settings.

#include <QTreeView>
#include <vector>

#include "core/item.h"

class QSortFilterProxyModel;

namespace tervo::ui {

class DocumentSession;
class WaveformListModel;

class WaveformList final : public QTreeView {
  Q_OBJECT
 public:
  explicit WaveformList(DocumentSession& session, QWidget* parent = nullptr);

  const std::vector<ItemId>& selectedItems() const { return selected_; }
  void select(const std::vector<ItemId>& items);
  void rebuild();
  void refresh();
  /// Into the settings.
  void rememberWidths();

 Q_SIGNALS:
  /// By the user or by select(); not by rebuild().
  void selectedItemsChanged();

 protected:
  void selectionChanged(const QItemSelection& selected, const QItemSelection& deselected) override;

 private:
  std::vector<ItemId> itemsOfSelection() const;
  void setWidths();

  DocumentSession& session_;
  WaveformListModel* model_;
  QSortFilterProxyModel* sorted_;
  std::vector<ItemId> selected_;  ///< by identifier: rows are others once the document has changed
  bool isRebuilding_ = false;
};

}  // namespace tervo::ui
