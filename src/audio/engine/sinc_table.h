#pragma once
// Band-limited interpolation: a windowed sinc (Kaiser window) by table, for playing at another rate than the device's.

#include <cstddef>
#include <vector>

namespace tervo::audio {

class SincTable {
 public:
  /// For a step of `framesPerFrame` source frames a device frame; steps above 1 lower the cutoff accordingly.
  explicit SincTable(double framesPerFrame);

  double step() const { return step_; }
  /// Frames that a value is made of; the first half lies at and before the position.
  std::size_t taps() const { return taps_; }
  /// The weights for a position `fraction` (0 <= fraction < 1) behind a frame. At fraction 0 without a lower cutoff the
  /// frame itself comes out, to the bit.
  void weights(double fraction, float* out) const noexcept;

 private:
  static constexpr std::size_t phases = 512;
  double step_;
  std::size_t taps_;          ///< a multiple of 8
  std::vector<float> table_;  ///< phases + 1 rows
};

}  // namespace tervo::audio
