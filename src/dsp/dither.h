#pragma once
// Fewer bits for samples, with noise in place of distortion.

#include <array>
#include <cstdint>
#include <span>

namespace tervo::dsp {

enum class Dither : uint8_t {
  none,
  rectangular,  ///< one step wide: no distortion, but noise that goes up and down with the sound
  triangular,   ///< two steps wide: noise of one level
  shaped        ///< triangular, its noise moved to where ears hear little (Lipshitz, Wannamaker, Vanderkooy 1991)
};

/// Rounds samples to multiples of 2^(1 - bits), halves up, within -1 .. 1 - 2^(1 - bits). What is no number becomes 0.
/// The noise depends on nothing but the place of a sample.
class Quantiser {
 public:
  /// 1 to 24 bits; 1 or 2 interleaved channels.
  Quantiser(int bits, Dither dither, int channels);

  /// `first` is the number of the first frame. Shaped noise needs all frames from the first one on, in order. `out` is
  /// as large as `in`.
  void apply(std::span<const float> in, std::span<float> out, int64_t first) noexcept;

 private:
  static constexpr std::size_t taps = 5;
  using Errors = std::array<double, taps>;  ///< of the samples before, in steps, the last one first

  double noise(uint64_t place) const noexcept;
  float quantise(float sample, uint64_t place, Errors& errors) const noexcept;

  double half_;
  Dither dither_;
  std::size_t channels_;
  std::array<Errors, 2> errors_{};
};

}  // namespace tervo::dsp
