#pragma once
// The waveform editor: the picture with its scroll bar and tool bar, the markers, the loop's seam and the spectrum.

#include <QWidget>

#include "core/settings.h"
#include "ui/wave/waveform_view.h"

class QScrollBar;
class QTableView;
class QToolBar;
class QLabel;

namespace tervo::ui {

class LoopSeamView;
class MarkerModel;
class SpectrumView;

class WaveformPane final : public QWidget {
  Q_OBJECT
 public:
  explicit WaveformPane(DocumentSession& session, QWidget* parent = nullptr);

  void setWaveform(ItemId id);
  void refresh();
  WaveformView& view() { return *view_; }
  QTableView& markers() { return *table_; }

  /// What the tool bar offers, for a menu.
  QList<QAction*> toolActions() const;

  /// Markers of the selection, or at the cursor where nothing is selected. One undo step.
  void addMarker(MarkerType type);
  void removeMarker();
  /// Of the chosen marker; goes to the nearest place where all channels cross zero.
  void snapToZero();

 private:
  void buildToolBar();
  void updateScrollBar();
  void updateSide();
  void updateInfo();
  void setDisplay(uint8_t Settings::Viz::*flag, bool on);

  DocumentSession& session_;
  ItemId waveform_ = noItem;
  WaveformView* view_;
  QScrollBar* scroll_;
  QToolBar* tools_;
  std::vector<std::pair<QAction*, uint8_t Settings::Viz::*>> displays_;  ///< what each check mark shows or hides
  QTableView* table_;
  MarkerModel* model_;
  LoopSeamView* seam_;
  SpectrumView* spectrum_;
  QLabel* info_;
  bool isScrolling_ = false;
};

}  // namespace tervo::ui
