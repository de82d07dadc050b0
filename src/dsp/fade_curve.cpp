#include "dsp/fade_curve.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace tervo::dsp {
namespace {

// One more than a power of two near 60 dB makes both ends exact.
constexpr double range = 1025;

double angleOf(FadeShape shape) {
  return shape == FadeShape::sCurve ? std::numbers::pi : std::numbers::pi / 2;
}

void multiplyMono(const float* in, float* out, const float* gains, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) out[i] = in[i] * gains[i];
}

void multiplyStereo(const float* in, float* out, const float* gains, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    out[2 * i] = in[2 * i] * gains[i];
    out[2 * i + 1] = in[2 * i + 1] * gains[i];
  }
}

}  // namespace

FadeCurve::FadeCurve(FadeShape shape, FadeDirection direction, int64_t length)
    : shape_(shape), direction_(direction), length_(length), step_(1 / static_cast<double>(length)) {
  for (std::size_t j = 0; j < stretch; ++j) {
    const double far = static_cast<double>(j) * step_;
    turn_[j] = 0;
    switch (shape) {
      case FadeShape::linear:
        rise_[j] = static_cast<float>(far);
        break;
      case FadeShape::exponential:
        rise_[j] = static_cast<float>(std::pow(range, far));
        break;
      case FadeShape::logarithmic:
        rise_[j] = static_cast<float>(std::pow(range, -far));
        break;
      default:
        rise_[j] = static_cast<float>(std::cos(angleOf(shape) * far));
        turn_[j] = static_cast<float>(std::sin(angleOf(shape) * far));
    }
  }
}

FadeCurve::Point FadeCurve::pointAt(double phase) const noexcept {
  const auto point = [](double offset, double a, double b) {
    return Point{static_cast<float>(offset), static_cast<float>(a), static_cast<float>(b)};
  };
  const double angle = angleOf(shape_) * phase;
  switch (shape_) {
    case FadeShape::linear:
      return point(phase, 1, 0);
    case FadeShape::equalPower:
      return point(0, std::sin(angle), std::cos(angle));
    case FadeShape::sCurve:
      return point(0.5, -0.5 * std::cos(angle), 0.5 * std::sin(angle));
    case FadeShape::exponential:
      return point(-1 / (range - 1), std::pow(range, phase) / (range - 1), 0);
    case FadeShape::logarithmic:
      return point(range / (range - 1), -std::pow(range, 1 - phase) / (range - 1), 0);
  }
  return {};
}

/// The gains of a stretch, in the order in which the frames of the fade come.
void FadeCurve::fillGains(int64_t firstFrame, std::array<float, stretch>& gains) const noexcept {
  const Point point = pointAt(static_cast<double>(firstFrame) * step_);
  for (std::size_t j = 0; j < stretch; ++j) gains[j] = point.offset + point.a * rise_[j] + point.b * turn_[j];
  if (direction_ == FadeDirection::out) std::reverse(gains.begin(), gains.end());
}

void FadeCurve::apply(std::span<const float> in, std::span<float> out, int channels, int64_t first) const noexcept {
  const auto width = static_cast<std::size_t>(channels);
  constexpr auto whole = static_cast<int64_t>(stretch);
  std::array<float, stretch> gains;
  while (in.size() >= width) {
    const int64_t place = direction_ == FadeDirection::in ? first : length_ - 1 - first;
    const auto within = static_cast<std::size_t>(place % whole);
    const std::size_t skipped = direction_ == FadeDirection::in ? within : stretch - 1 - within;
    const std::size_t count = std::min(stretch - skipped, in.size() / width);
    fillGains(place / whole * whole, gains);
    (channels == 1 ? multiplyMono : multiplyStereo)(in.data(), out.data(), gains.data() + skipped, count);
    in = in.subspan(count * width);
    out = out.subspan(count * width);
    first += static_cast<int64_t>(count);
  }
}

}  // namespace tervo::dsp
