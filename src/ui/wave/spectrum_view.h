#pragma once
// The spectrum of a stretch of a waveform: levels in dB over frequencies on a logarithmic scale.

#include <QWidget>
#include <vector>

#include "core/waveform.h"

namespace tervo::ui {

class SpectrumView final : public QWidget {
  Q_OBJECT
 public:
  explicit SpectrumView(QWidget* parent = nullptr);
  /// From `start` on, as many frames as a good resolution needs and there are.
  void show(const Waveform* waveform, double start, double end);

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  double xOf(double hertz) const;
  void paintGrid(QPainter& painter) const;

  std::vector<float> levels_;
  double sampleRate_ = 48000;
};

}  // namespace tervo::ui
