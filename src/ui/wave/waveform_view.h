#pragma once
// A waveform as a picture: its channels, what is selected, its markers with ends to drag, and where it is played.

#include <QWidget>
#include <optional>

#include "core/waveform.h"
#include "ui/wave/peak_cache.h"
#include "ui/wave/wave_scale.h"

namespace tervo::ui {

class DocumentSession;

class WaveformView final : public QWidget {
  Q_OBJECT
 public:
  explicit WaveformView(DocumentSession& session, QWidget* parent = nullptr);

  /// noItem for none. Keeps zoom and selection while the same frames stay.
  void setWaveform(ItemId id);
  const Waveform* waveform() const { return findItem<Waveform>(waveform_); }
  PeakCache& peaks() { return peaks_; }

  const WaveScale& scale() const { return scale_; }
  void setScale(const WaveScale& scale);
  void zoom(double factor) { zoomAt(factor, width() / 2.0); }
  void showAll();
  void showSelection();
  void showFrame(double frame);

  struct Selection {
    double start = 0, end = 0;
    bool isEmpty() const { return end <= start; }
  };
  const Selection& selection() const { return selection_; }
  void select(double start, double end);
  /// Where the cursor stands: the anchor of keys and of playing.
  double cursor() const { return cursor_; }
  /// Nothing while nothing is played.
  void setPlayPosition(std::optional<double> frame);

  /// The marker that keys and panes work on; -1 for none.
  int chosenMarker() const { return chosenMarker_; }
  void chooseMarker(int index);
  /// As a step of the gesture that is going on.
  void moveMarkerEnd(int index, bool isEnd, double frame);

 Q_SIGNALS:
  void scaleChanged();
  void selectionChanged();
  void markerChosen(int index);

 protected:
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  void wheelEvent(QWheelEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;

 private:
  struct Grip {
    int marker = -1;
    bool isEnd = false;
  };
  double frames() const { return waveform() ? static_cast<double>(waveform()->frames()) : 0; }
  double frameAt(double x) const;
  std::optional<Grip> gripAt(const QPointF& point) const;
  void zoomAt(double factor, double x);
  void moveCursor(double frame, bool selects);
  bool nudgeMarker(QKeyEvent& event);
  void paintMarkers(QPainter& painter) const;
  void paintChannels(QPainter& painter) const;
  void paintSelection(QPainter& painter) const;

  DocumentSession& session_;
  ItemId waveform_ = noItem;
  PeakCache peaks_;
  WaveScale scale_;
  Selection selection_;
  double cursor_ = 0;
  std::optional<double> playPosition_;
  int chosenMarker_ = -1;
  std::optional<Grip> dragged_;
  bool isSelecting_ = false;
  double anchor_ = 0;
  uint64_t gesture_ = 0;
};

}  // namespace tervo::ui
