#pragma once
// Many rows as few ranges: what Qt does with a selection takes time by the number of its ranges, squared.

#include <QItemSelection>
#include <algorithm>
#include <utility>
#include <vector>

namespace tervo::ui {

/// The whole rows of the indices, in ranges of neighbours.
inline QItemSelection rowRanges(const std::vector<QModelIndex>& rows) {
  std::vector<std::pair<QModelIndex, QModelIndex>> below;  // by parent
  for (const QModelIndex& row : rows) below.emplace_back(row.parent(), row);
  std::sort(below.begin(), below.end());
  QItemSelection ranges;
  for (std::size_t i = 0; i < below.size();) {
    const auto& [parent, first] = below[i];
    QModelIndex last = first;
    for (++i; i < below.size() && below[i].first == parent && below[i].second.row() <= last.row() + 1; ++i)
      last = below[i].second;
    ranges.select(first, last);
  }
  return ranges;
}

}  // namespace tervo::ui
