#include "dsp/high_pass.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <vector>

namespace tervo {
namespace {

/// A second-order section by the bilinear transform, transposed direct form II.
class Section {
 public:
  Section(double cutoff, double sampleRate, double q) {
    const double k = std::tan(std::numbers::pi * cutoff / sampleRate), norm = 1 / (1 + k / q + k * k);
    b_ = norm;
    a1_ = 2 * (k * k - 1) * norm;
    a2_ = (1 - k / q + k * k) * norm;
  }

  double operator()(double x) {
    const double y = b_ * x + first_;
    first_ = second_ - 2 * b_ * x - a1_ * y;
    second_ = b_ * x - a2_ * y;
    return y;
  }
  /// As if `x` had come in for ever.
  void settle(double x) {
    second_ = b_ * x;
    first_ = -b_ * x;
  }

 private:
  double b_, a1_, a2_;
  double first_ = 0, second_ = 0;
};

void run(std::span<double> x, double cutoff, double sampleRate) {
  // The two pairs of poles of a Butterworth filter of fourth order.
  Section one(cutoff, sampleRate, 0.5 / std::cos(std::numbers::pi / 8));
  Section two(cutoff, sampleRate, 0.5 / std::cos(3 * std::numbers::pi / 8));
  one.settle(x.front());
  for (double& sample : x) sample = two(one(sample));
}

}  // namespace

void highPassZeroPhase(std::span<float> interleaved, std::size_t channels, std::size_t channel, double cutoff,
                       double sampleRate) {
  const std::size_t frames = interleaved.size() / channels;
  if (frames < 2 || !(cutoff > 0) || !(cutoff < sampleRate / 2)) return;
  // Six periods of the cutoff: until the filter has forgotten what was before.
  const auto margin = static_cast<std::size_t>(std::min(6 * sampleRate / cutoff, static_cast<double>(frames - 1)));
  std::vector<double> x(frames + 2 * margin);
  const auto at = [&](std::size_t frame) {
    const float sample = interleaved[frame * channels + channel];
    return std::isfinite(sample) ? double{sample} : 0;
  };
  for (std::size_t i = 0; i < margin; ++i) {
    x[i] = 2 * at(0) - at(margin - i);
    x[margin + frames + i] = 2 * at(frames - 1) - at(frames - 2 - i);
  }
  for (std::size_t i = 0; i < frames; ++i) x[margin + i] = at(i);
  run(x, cutoff, sampleRate);
  std::reverse(x.begin(), x.end());
  run(x, cutoff, sampleRate);
  for (std::size_t i = 0; i < frames; ++i)
    interleaved[i * channels + channel] = static_cast<float>(x[margin + frames - 1 - i]);
}

}  // namespace tervo
