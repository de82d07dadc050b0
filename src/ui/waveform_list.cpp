#include "ui/waveform_list.h"

#include <QHeaderView>
#include <QSortFilterProxyModel>
#include <algorithm>

#include "ui/document_session.h"
#include "ui/row_ranges.h"
#include "ui/waveform_list_model.h"

namespace tervo::ui {

WaveformList::WaveformList(DocumentSession& session, QWidget* parent) : QTreeView(parent), session_(session) {
  model_ = new WaveformListModel(session.document(), session.settings(), this);
  sorted_ = new QSortFilterProxyModel(this);
  sorted_->setSourceModel(model_);
  sorted_->setSortRole(Qt::UserRole);
  sorted_->setSortCaseSensitivity(Qt::CaseInsensitive);
  setModel(sorted_);
  setRootIsDecorated(false);
  setUniformRowHeights(true);
  setAllColumnsShowFocus(true);
  setSelectionMode(ExtendedSelection);
  setAccessibleName(tr("Waveforms"));
  // In the document's order until a column is clicked.
  header()->setSortIndicatorClearable(true);
  header()->setSortIndicator(-1, Qt::AscendingOrder);
  setSortingEnabled(true);
  header()->setStretchLastSection(false);
  setWidths();
}

void WaveformList::setWidths() {
  const auto& widths = session_.settings().app.colWidths;
  // Until somebody sets them, columns are wide enough for what usually stands in them, whatever the font.
  const bool areUsual = widths == Settings{}.app.colWidths;
  const QString usual[] = {{},
                           QStringLiteral("PCM 16-bit stereo"),
                           QStringLiteral("192000"),
                           QStringLiteral("C#-1"),
                           QStringLiteral("59:59.999")};
  for (int column = 0; column < WaveformListModel::columns; ++column) {
    int width = widths[static_cast<std::size_t>(column)];
    if (areUsual)
      width = std::max({width, header()->sectionSizeHint(column),
                        fontMetrics().horizontalAdvance(usual[column]) + 2 * fontMetrics().averageCharWidth()});
    header()->resizeSection(column, width);
  }
}

void WaveformList::rememberWidths() {
  auto& widths = session_.settings().app.colWidths;
  for (int column = 0; column < WaveformListModel::columns; ++column)
    widths[static_cast<std::size_t>(column)] = static_cast<uint16_t>(header()->sectionSize(column));
}

std::vector<ItemId> WaveformList::itemsOfSelection() const {
  QModelIndexList rows = selectionModel()->selectedRows();
  std::sort(rows.begin(), rows.end());
  std::vector<ItemId> items;
  for (const QModelIndex& row : rows) {
    const ItemId id = model_->itemAt(sorted_->mapToSource(row).row());
    if (findItem(id)) items.push_back(id);
  }
  return items;
}

void WaveformList::select(const std::vector<ItemId>& items) {
  const auto before = selected_;
  std::vector<QModelIndex> rows;
  QModelIndex first;
  for (const ItemId id : items) {
    const int row = model_->rowOf(id);
    if (row < 0) continue;
    const QModelIndex index = sorted_->mapFromSource(model_->index(row, 0));
    if (!first.isValid()) first = index;
    rows.push_back(index);
  }
  selectionModel()->select(rowRanges(rows), QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
  if (first.isValid()) scrollTo(first);
  // The other pane may have been chosen from meanwhile.
  if (!isRebuilding_ && selected_ == before) Q_EMIT selectedItemsChanged();
}

void WaveformList::rebuild() {
  isRebuilding_ = true;
  const auto selected = std::move(selected_);
  model_->reset();
  select(selected);
  isRebuilding_ = false;
  selected_ = itemsOfSelection();
}

void WaveformList::refresh() {
  model_->refresh();
}

void WaveformList::selectionChanged(const QItemSelection& selected, const QItemSelection& deselected) {
  QTreeView::selectionChanged(selected, deselected);
  if (isRebuilding_) return;
  selected_ = itemsOfSelection();
  Q_EMIT selectedItemsChanged();
}

}  // namespace tervo::ui
