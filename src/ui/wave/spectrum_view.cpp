#include "ui/wave/spectrum_view.h"

#include <QPainter>
#include <algorithm>
#include <bit>
#include <cmath>

#include "dsp/spectrum.h"
#include "ui/wave/wave_painter.h"

namespace tervo::ui {
namespace {

constexpr double lowestHertz = 20, lowestLevel = -120;
constexpr std::size_t shortest = 256, longest = 1 << 16;

}  // namespace

SpectrumView::SpectrumView(QWidget* parent) : QWidget(parent) {
  setMinimumSize(120, 60);
  setAccessibleName(tr("Spectrum"));
}

void SpectrumView::show(const Waveform* waveform, double start, double end) {
  levels_.clear();
  if (waveform && waveform->samples && waveform->frames() > 0) {
    sampleRate_ = waveform->sampleRate;
    const auto wanted = static_cast<std::size_t>(std::max(end - start, 4096.0));
    const std::size_t length = std::clamp(std::bit_floor(wanted), shortest, longest);
    const auto frames = framesOf(*waveform->samples, static_cast<int64_t>(start), static_cast<int64_t>(length));
    const auto channels = static_cast<std::size_t>(waveform->channels());
    std::vector<float> mono(length);
    for (std::size_t i = 0; i < frames.size(); ++i) mono[i / channels] += frames[i] / static_cast<float>(channels);
    levels_ = levelSpectrum(mono);
  }
  update();
}

double SpectrumView::xOf(double hertz) const {
  return width() * std::log(hertz / lowestHertz) / std::log(sampleRate_ / 2 / lowestHertz);
}

void SpectrumView::paintGrid(QPainter& painter) const {
  painter.setPen(palette().color(QPalette::Mid));
  for (int level = -100; level < 0; level += 20) {
    const double y = height() * level / lowestLevel;
    painter.drawLine(QPointF(0, y), QPointF(width(), y));
    painter.drawText(QPointF(2, y - 2), tr("%1 dB").arg(level));
  }
  for (const double hertz : {100.0, 1000.0, 10000.0}) {
    painter.drawLine(QPointF(xOf(hertz), 0), QPointF(xOf(hertz), height()));
    painter.drawText(QPointF(xOf(hertz) + 2, height() - 3), tr("%1 Hz").arg(hertz));
  }
}

void SpectrumView::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.fillRect(rect(), palette().color(QPalette::Base));
  if (levels_.empty()) return;
  paintGrid(painter);
  painter.setPen(QPen(palette().color(QPalette::Active, QPalette::Highlight), 1));
  const double spacing = sampleRate_ / 2 / static_cast<double>(levels_.size() - 1);
  // Several bins fall on a pixel at the top: the strongest counts.
  QPolygonF line;
  double x = -1, strongest = lowestLevel;
  for (std::size_t k = 1; k < levels_.size(); ++k) {
    const double at = std::floor(xOf(static_cast<double>(k) * spacing));
    if (at > x && x >= 0) line << QPointF(x, height() * strongest / lowestLevel);
    if (at > x) strongest = lowestLevel;
    x = at;
    strongest = std::max(strongest, double{levels_[k]});
  }
  painter.drawPolyline(line);
}

}  // namespace tervo::ui
