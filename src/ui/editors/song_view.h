#pragma once
// The notes of a song as a piano roll under rulers of bars and seconds. Read-only. The wheel scrolls, with Ctrl it
// zooms; arrows scroll, plus and minus zoom, 0 shows all.

#include <QWidget>
#include <optional>
#include <vector>

#include "ui/editors/song_roll.h"
#include "ui/wave/wave_scale.h"

namespace tervo::ui {

class SongView final : public QWidget {
  Q_OBJECT
 public:
  explicit SongView(QWidget* parent = nullptr);

  /// Keeps the zoom while `isSame` song is shown.
  void setRoll(SongRoll roll, bool isSame);
  const SongRoll& roll() const { return roll_; }
  /// Notes of other tracks are drawn faintly; empty for all alike.
  void setHighlighted(std::vector<int> tracks);
  /// Nothing while nothing is played. Follows it where it leaves the picture.
  void setPlayPosition(std::optional<double> seconds);
  /// The second that playing starts from.
  double place() const { return place_; }
  void setPlace(double seconds);

  /// Ticks by pixels of the part that scrolls.
  const WaveScale& scale() const { return scale_; }
  void setScale(const WaveScale& scale);
  void zoom(double factor) { zoomAt(factor, rollArea().width() / 2); }
  void showAll();
  QRectF rollArea() const;
  QRectF rectOf(const RollNote& note) const;

  static QColor colourOfTrack(const QPalette& palette, int track);
  QSize sizeHint() const override { return {600, 300}; }

 Q_SIGNALS:
  void scaleChanged();
  /// A place was clicked.
  void placeChosen(double seconds);

 protected:
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void leaveEvent(QEvent* event) override;
  void wheelEvent(QWheelEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;

 private:
  double ticks() const { return static_cast<double>(roll_.ticks()); }
  double xOf(double tick) const { return rollArea().left() + scale_.xOf(tick); }
  uint64_t tickAt(double x) const;
  double keyHeight() const;
  double yOf(int key) const;
  bool isHighlighted(int track) const;
  const RollNote* noteAt(const QPointF& point) const;
  void zoomAt(double factor, double x);
  void scroll(double pixels);
  void paintKeys(QPainter& painter) const;
  void paintRulers(QPainter& painter) const;
  void paintMarks(QPainter& painter) const;
  void paintNotes(QPainter& painter) const;
  void paintTimeLine(QPainter& painter, double seconds, const QPen& pen) const;
  QString describe(const RollNote& note) const;

  SongRoll roll_;
  WaveScale scale_;
  std::vector<int> highlighted_;
  std::optional<double> playPosition_;
  double place_ = 0;
  std::optional<QPointF> mouse_;
};

}  // namespace tervo::ui
