#pragma once
// Sample-rate conversion of a stream, by libsoxr's high-quality recipe (20 bits, linear phase, no delay: the first
// frame out is the first frame in).

#include <cstddef>
#include <memory>
#include <span>

namespace tervo {

class Resampler {
 public:
  /// Null with LastErrorText for rates or channel counts that cannot be converted, or when memory is short.
  static std::unique_ptr<Resampler> create(double fromHz, double toHz, int channels);
  virtual ~Resampler() = default;

  struct Step {
    std::size_t framesConsumed = 0;
    std::size_t framesProduced = 0;
  };
  /// Takes what it can of `in` (interleaved) and fills what it can of `out`. An empty `in` says that the input has
  /// ended; then a step that produces nothing is the end of the output.
  virtual Step process(std::span<const float> in, std::span<float> out) = 0;
};

}  // namespace tervo
