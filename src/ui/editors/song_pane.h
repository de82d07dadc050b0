#pragma once
// A song: its tracks as a table, the piano roll with its scroll bar, and what the file's header says.

#include <QAbstractTableModel>
#include <QWidget>
#include <vector>

#include "core/item.h"
#include "core/song.h"

class QLabel;
class QScrollBar;
class QTableView;

namespace tervo::ui {

class SongView;

/// The tracks of a song, each with its colour in the roll.
class TrackModel final : public QAbstractTableModel {
  Q_OBJECT
 public:
  enum Column { name, channels, notes, events, columns };
  using QAbstractTableModel::QAbstractTableModel;

  void setSong(const Song* song);
  int rowCount(const QModelIndex& parent = {}) const override;
  int columnCount(const QModelIndex&) const override { return columns; }
  QVariant data(const QModelIndex& index, int role) const override;
  QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

 private:
  struct Row {
    QString name, channels;
    TrackSummary summary;
  };
  std::vector<Row> rows_;
};

class SongPane final : public QWidget {
  Q_OBJECT
 public:
  explicit SongPane(QWidget* parent = nullptr);

  /// The first song or track among the items; a track stands out from the others of its song.
  void setItems(const std::vector<ItemId>& items);
  void refresh();
  SongView& view() { return *view_; }
  QTableView& tracks() { return *table_; }
  ItemId song() const { return song_; }

 protected:
  void showEvent(QShowEvent* event) override;

 private:
  void rebuild();
  void chooseTracks();
  void updateScrollBar();
  void updateInfo(const Song* song);

  ItemId song_ = noItem;
  std::size_t shownTrack_ = 0;  ///< of a song whose tracks are songs of their own
  ItemId shownSong_ = noItem;
  SongView* view_;
  QScrollBar* scroll_;
  QTableView* table_;
  TrackModel* model_;
  QLabel* info_;
  bool isChanging_ = false;
  bool isStale_ = false;  ///< the song may have changed while nobody saw it
};

}  // namespace tervo::ui
