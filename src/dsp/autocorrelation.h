#pragma once
// How much a stretch of sound is like itself some frames later: the measure in which a period shows as a peak.

#include <cstddef>
#include <memory>
#include <span>
#include <vector>

namespace tervo {

/// The normalised square difference function of P. McLeod and G. Wyvill, "A Smarter Way to Find Pitch" (ICMC 2005):
///   n(lag) = 2 · sum x[i]·x[i + lag] / sum (x[i]² + x[i + lag]²)
/// over all i for which both samples are in the window, with the window's mean taken out. 1 is a perfect repetition, -1
/// its opposite, and silence gives 0.
class Autocorrelation {
 public:
  /// For windows of `window` samples and lags of 0 to `lags`, which is less than `window`.
  Autocorrelation(std::size_t window, std::size_t lags);
  ~Autocorrelation();

  std::size_t window() const { return window_; }
  /// n(0) .. n(lags); valid until the next call.
  std::span<const double> of(std::span<const float> window);

 private:
  class Transform;

  std::size_t window_;
  std::unique_ptr<Transform> transform_;
  std::vector<double> samples_, result_;
};

}  // namespace tervo
