#include "ui/editors/song_pane.h"

#include <QGuiApplication>
#include <QHeaderView>
#include <QLabel>
#include <QScrollBar>
#include <QSplitter>
#include <QTableView>
#include <QToolBar>
#include <QVBoxLayout>
#include <bitset>
#include <cmath>

#include "core/midi_events.h"
#include "ui/editors/song_view.h"
#include "ui/qt_text.h"
#include "ui/waveform_list_model.h"

namespace tervo::ui {
namespace {

// The scroll bar counts in steps, as its range is that of an int.
constexpr double scrollSteps = 1 << 20;

QString channelsOf(const Track& track) {
  std::bitset<16> used;
  MidiEvents events(track.data);
  while (const MidiEvent* event = events.next()) {
    if (event->isChannel()) used.set(event->channel());
  }
  QStringList names;
  for (std::size_t channel = 0; channel < used.size(); ++channel) {
    if (used[channel]) names.push_back(QString::number(channel + 1));
  }
  return names.size() == 16 ? SongPane::tr("all") : names.join(QStringLiteral(", "));
}

}  // namespace

void TrackModel::setSong(const Song* song) {
  beginResetModel();
  rows_.clear();
  for (std::size_t i = 0; song && i < song->tracks().size(); ++i) {
    const Track& track = *song->tracks()[i];
    rows_.push_back(
        {track.name.empty() ? tr("Track %1").arg(i + 1) : qt(track.name), channelsOf(track), summaryOf(track)});
  }
  endResetModel();
}

int TrackModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(rows_.size());
}

QVariant TrackModel::data(const QModelIndex& index, int role) const {
  if (!index.isValid()) return {};
  if (role == Qt::DecorationRole && index.column() == name)
    return SongView::colourOfTrack(QGuiApplication::palette(), index.row());
  if (role == Qt::TextAlignmentRole && index.column() >= notes) return int(Qt::AlignRight | Qt::AlignVCenter);
  if (role != Qt::DisplayRole && role != Qt::ToolTipRole) return {};
  const Row& row = rows_[static_cast<std::size_t>(index.row())];
  switch (index.column()) {
    case name:
      return row.name;
    case channels:
      return row.channels;
    case notes:
      return static_cast<qulonglong>(row.summary.notes);
    default:
      return static_cast<qulonglong>(row.summary.events);
  }
}

QVariant TrackModel::headerData(int section, Qt::Orientation orientation, int role) const {
  if (role != Qt::DisplayRole) return {};
  if (orientation == Qt::Vertical) return section + 1;
  const QString titles[] = {tr("Track"), tr("Channels"), tr("Notes"), tr("Events")};
  return titles[section];
}

SongPane::SongPane(QWidget* parent) : QWidget(parent) {
  view_ = new SongView(this);
  scroll_ = new QScrollBar(Qt::Horizontal, this);
  scroll_->setAccessibleName(tr("Place in the song"));
  info_ = new QLabel(this);
  info_->setTextFormat(Qt::PlainText);
  model_ = new TrackModel(this);
  table_ = new QTableView(this);
  table_->setModel(model_);
  table_->setSelectionBehavior(QAbstractItemView::SelectRows);
  table_->setShowGrid(false);
  table_->setTabKeyNavigation(false);
  table_->verticalHeader()->hide();
  table_->verticalHeader()->setDefaultSectionSize(22);
  table_->horizontalHeader()->setSectionResizeMode(TrackModel::name, QHeaderView::Stretch);
  for (int column = TrackModel::channels; column < TrackModel::columns; ++column)
    table_->horizontalHeader()->setSectionResizeMode(column, QHeaderView::ResizeToContents);
  table_->setAccessibleName(tr("Tracks"));
  auto* tools = new QToolBar(this);
  tools->addAction(tr("Zoom in"), view_, [this] { view_->zoom(0.5); })->setToolTip(tr("Zoom in (+)"));
  tools->addAction(tr("Zoom out"), view_, [this] { view_->zoom(2); })->setToolTip(tr("Zoom out (-)"));
  tools->addAction(tr("All"), view_, [this] { view_->showAll(); })->setToolTip(tr("Show the whole song (0)"));

  auto* picture = new QWidget(this);
  auto* pictureLayout = new QVBoxLayout(picture);
  pictureLayout->setContentsMargins(0, 0, 0, 0);
  pictureLayout->setSpacing(0);
  pictureLayout->addWidget(view_, 1);
  pictureLayout->addWidget(scroll_);
  auto* across = new QSplitter(Qt::Horizontal, this);
  across->addWidget(table_);
  across->addWidget(picture);
  across->setSizes({280, 620});
  across->setStretchFactor(1, 1);
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->addWidget(tools);
  layout->addWidget(across, 1);
  layout->addWidget(info_);

  connect(view_, &SongView::scaleChanged, this, &SongPane::updateScrollBar);
  connect(table_->selectionModel(), &QItemSelectionModel::selectionChanged, this, &SongPane::chooseTracks);
  connect(scroll_, &QScrollBar::valueChanged, this, [this](int value) {
    if (isChanging_) return;
    WaveScale scale = view_->scale();
    scale.first = value / scrollSteps * static_cast<double>(view_->roll().ticks());
    view_->setScale(scale);
  });
}

void SongPane::setItems(const std::vector<ItemId>& items) {
  const Song* song = nullptr;
  int track = -1;
  for (std::size_t i = 0; i < items.size() && !song; ++i) {
    song = containingSong(items[i]);
    for (std::size_t k = 0; song && k < song->tracks().size(); ++k)
      if (song->tracks()[k]->id() == items[i]) track = static_cast<int>(k);
  }
  // Choosing an instrument to hear the song with does not take the song away.
  if (!song && findItem(song_)) return;
  song_ = song ? song->id() : noItem;
  shownTrack_ = static_cast<std::size_t>(std::max(track, 0));
  rebuild();
  if (track >= 0) table_->selectRow(track);
}

void SongPane::refresh() {
  isStale_ = true;
  if (isVisible()) rebuild();
}

void SongPane::showEvent(QShowEvent* event) {
  QWidget::showEvent(event);
  if (isStale_) rebuild();
}

void SongPane::rebuild() {
  isStale_ = false;
  const Song* song = findItem<Song>(song_);
  const bool isSame = song && view_->roll().tempi();
  model_->setSong(song);
  view_->setHighlighted({});
  view_->setRoll(song ? SongRoll(*song, shownTrack_) : SongRoll(), isSame && shownSong_ == song_);
  shownSong_ = song_;
  updateInfo(song);
}

void SongPane::chooseTracks() {
  std::vector<int> rows;
  for (const QModelIndex& index : table_->selectionModel()->selectedRows()) rows.push_back(index.row());
  const Song* song = findItem<Song>(song_);
  if (song && song->format == 2 && !rows.empty() && shownTrack_ != static_cast<std::size_t>(rows.front())) {
    shownTrack_ = static_cast<std::size_t>(rows.front());
    view_->setRoll(SongRoll(*song, shownTrack_), false);
  }
  view_->setHighlighted(std::move(rows));
}

void SongPane::updateScrollBar() {
  const double ticks = std::max(static_cast<double>(view_->roll().ticks()), 1.0);
  const double shown = std::min(view_->rollArea().width() * view_->scale().framesPerPixel / ticks, 1.0);
  isChanging_ = true;
  scroll_->setRange(0, static_cast<int>((1 - shown) * scrollSteps));
  scroll_->setPageStep(std::max(static_cast<int>(shown * scrollSteps), 1));
  scroll_->setSingleStep(std::max(scroll_->pageStep() / 20, 1));
  scroll_->setValue(static_cast<int>(view_->scale().first / ticks * scrollSteps));
  isChanging_ = false;
}

void SongPane::updateInfo(const Song* song) {
  if (!song) return info_->clear();
  const TickRate rate(song->division);
  const QString division = rate.isSmpte ? tr("%1 ticks a second").arg(rate.ticksPerSecond)
                                        : tr("%1 ticks a quarter note").arg(rate.ticksPerQuarter);
  info_->setText(tr("%1: format %2, %3, %4 tracks, %5 notes, %6")
                     .arg(qt(song->name))
                     .arg(song->format)
                     .arg(division)
                     .arg(song->tracks().size())
                     .arg(view_->roll().notes().size())
                     .arg(durationText(lengthInSeconds(*song))));
}

}  // namespace tervo::ui
