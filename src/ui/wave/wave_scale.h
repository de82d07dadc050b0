#pragma once
// Which frames stand where in a picture of a waveform.

#include <algorithm>

namespace tervo::ui {

struct WaveScale {
  double first = 0;           ///< the frame at the left edge, with fractions
  double framesPerPixel = 1;  ///< below 1 where single samples can be told apart

  double frameAt(double x) const { return first + x * framesPerPixel; }
  double xOf(double frame) const { return (frame - first) / framesPerPixel; }

  static constexpr double closest = 1.0 / 64;

  /// All of so many frames in so many pixels.
  static WaveScale whole(double frames, double width) { return {0, std::max(frames / std::max(width, 1.0), closest)}; }
  /// Zooms so that the frame at `x` stays where it is, no further out than the whole and no closer than single samples.
  WaveScale zoomed(double factor, double x, double frames, double width) const {
    const double widest = whole(frames, width).framesPerPixel;
    WaveScale scale{0, std::clamp(framesPerPixel * factor, std::min(closest, widest), widest)};
    scale.first = frameAt(x) - x * scale.framesPerPixel;
    return scale.within(frames, width);
  }
  WaveScale within(double frames, double width) const {
    return {std::clamp(first, 0.0, std::max(frames - width * framesPerPixel, 0.0)), framesPerPixel};
  }
};

}  // namespace tervo::ui
