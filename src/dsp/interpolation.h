#pragma once
// Values between samples.

namespace tervo {

/// Four points, third order (the Catmull-Rom spline): through both middle points, with the slopes that their neighbours
/// suggest. `fraction` is 0..1, the way from `a` to `b`.
constexpr double fourPoint(double beforeA, double a, double b, double afterB, double fraction) {
  const double slopeA = (b - beforeA) / 2, slopeB = (afterB - a) / 2, rise = a - b;
  const double cubic = 2 * rise + slopeA + slopeB, square = -3 * rise - 2 * slopeA - slopeB;
  return ((cubic * fraction + square) * fraction + slopeA) * fraction + a;
}

}  // namespace tervo
