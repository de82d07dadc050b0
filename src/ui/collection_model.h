#pragma once
// The document as a tree: the collection with its instruments, layers and regions, the list of waveforms, songs and
// tracks. Nothing is kept here but which rows there are; texts are made when a view asks for them.

#include <QAbstractItemModel>
#include <functional>

#include "core/collection.h"
#include "core/settings.h"

namespace tervo::ui {

class CollectionModel final : public QAbstractItemModel {
  Q_OBJECT
 public:
  enum Column { name, number, count, columns };
  CollectionModel(const Collection& document, const Settings& settings, QObject* parent = nullptr);

  /// Items have come or gone. Views lose what they selected; whoever resets brings it back by identifier.
  void reset();
  /// Items have other names or numbers.
  void refresh();

  /// noItem for the row that stands for all waveforms.
  ItemId itemAt(const QModelIndex& index) const;
  /// Invalid when the tree does not show the item.
  QModelIndex indexOf(ItemId id) const;
  /// Every item that the tree shows, in display order.
  void forEachItem(const std::function<void(ItemId)>& visit) const;

  QModelIndex index(int row, int column, const QModelIndex& parent = {}) const override;
  QModelIndex parent(const QModelIndex& index) const override;
  int rowCount(const QModelIndex& parent = {}) const override;
  int columnCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  Qt::ItemFlags flags(const QModelIndex& index) const override;

 private:
  QString nameOf(const Item& item, int row) const;
  /// What stands behind the name: the number that a label begins with, up to its tab, and how much is below.
  QString numberOf(const Item& item, int row) const;
  QString countOf(const Item& item) const;
  int rowOf(const Item& item) const;

  const Collection& document_;
  const Settings& settings_;
};

/// "000:005" or "005" before an instrument's name, as far as the settings want it.
QString numberPrefix(const Instrument& instrument, const Settings& settings);
/// The name of a region as lists show it: its waveform's name and its ranges.
QString regionName(const Region& region, const Settings& settings);

}  // namespace tervo::ui
