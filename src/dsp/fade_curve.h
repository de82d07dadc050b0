#pragma once
// Gains that rise from 0 to 1 along a curve, or fall.

#include <array>
#include <cstdint>
#include <span>

namespace tervo::dsp {

enum class FadeShape : uint8_t {
  linear,
  equalPower,   ///< a quarter of a sine: two that cross keep the power of what is unlike
  sCurve,       ///< half a cosine: two that cross keep the level of what is alike
  exponential,  ///< slow at first: the same number of decibels in the same time, 60 dB in all
  logarithmic   ///< the same turned round: fast at first
};

enum class FadeDirection : uint8_t { in, out };

/// Over `length` frames: frame k of a fade in has the gain shape(k / length), so the first one is silent. A fade out is
/// its mirror image: the last frame is silent.
class FadeCurve {
 public:
  FadeCurve(FadeShape shape, FadeDirection direction, int64_t length);

  /// Multiplies whole frames of 1 or 2 interleaved channels, of which the first one is frame `first` of the fade. `out`
  /// is as large as `in` and stands elsewhere.
  void apply(std::span<const float> in, std::span<float> out, int channels, int64_t first) const noexcept;

 private:
  // Within a stretch of frames gain(j) = offset + a * rise[j] + b * turn[j]: one exact point a stretch, and sums and
  // products of angles or powers from there. Stretches have fixed places, so that gains do not depend on blocks.
  static constexpr std::size_t stretch = 256;
  struct Point {
    float offset, a, b;
  };
  Point pointAt(double phase) const noexcept;
  void fillGains(int64_t firstFrame, std::array<float, stretch>& gains) const noexcept;

  FadeShape shape_;
  FadeDirection direction_;
  int64_t length_;
  double step_;
  std::array<float, stretch> rise_;
  std::array<float, stretch> turn_;
};

}  // namespace tervo::dsp
