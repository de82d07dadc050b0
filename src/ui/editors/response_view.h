#pragma once
// A picture of gains in dB over a logarithmic scale of frequencies, for filters and equalizers.

#include "ui/editors/handle_view.h"

namespace tervo::ui {

class ResponseView : public HandleView {
  Q_OBJECT
 public:
  using HandleView::HandleView;

 protected:
  // Hz: a bit more than the rows admit and ears hear.
  static constexpr double lowestHertz = 8, highestHertz = 24000;
  /// The rate that responses are drawn for: the usual one of outputs, on which only the last octave depends.
  static constexpr float sampleRate = 48000;

  QRectF area() const;
  double xOf(double hertz) const;
  double hertzAt(double x) const;
  double yOf(double dB) const;
  double dBAt(double y) const;
  void setRange(double lowestDb, double highestDb);
  void paintGrid(QPainter& painter) const override;
  /// The line of a response, and what is between it and 0 dB.
  template <typename Response>
  void paintResponse(QPainter& painter, const Response& dBOf, const QColor& colour) const {
    std::vector<QPointF> line;
    const QRectF box = area();
    for (double x = box.left(); x <= box.right(); x += 1) line.emplace_back(x, yOf(dBOf(hertzAt(x))));
    paintLine(painter, line, colour);
  }

 private:
  void paintLine(QPainter& painter, const std::vector<QPointF>& line, const QColor& colour) const;

  double lowestDb_ = -60, highestDb_ = 24;
};

}  // namespace tervo::ui
