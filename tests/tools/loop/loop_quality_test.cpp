// Whether found loops can be heard. A linear predictor that has learned the tone inside the loop knows how it goes on;
// at the seam, what it did not expect is the click.

#include <gtest/gtest.h>

#include <cmath>
#include <iostream>
#include <numbers>

#include "tests/dsp/tones.h"
#include "tools/loop/loop_crossfade.h"
#include "tools/loop/loop_finder.h"

namespace tervo {
namespace {

constexpr double rate = 44100;
using Sound = std::vector<float>;

/// Least squares over a stretch of sound, by Cholesky's decomposition of the covariances.
class Predictor {
 public:
  static constexpr std::size_t order = 40;

  explicit Predictor(std::span<const float> x) {
    double a[order][order] = {}, b[order] = {};
    for (std::size_t n = order; n < x.size(); ++n) {
      for (std::size_t i = 0; i < order; ++i) {
        b[i] += double{x[n]} * double{x[n - 1 - i]};
        for (std::size_t j = 0; j <= i; ++j) a[i][j] += double{x[n - 1 - i]} * double{x[n - 1 - j]};
      }
    }
    for (std::size_t i = 0; i < order; ++i) a[i][i] *= 1 + 1e-10;
    for (std::size_t i = 0; i < order; ++i) {
      for (std::size_t j = 0; j <= i; ++j) {
        double sum = a[i][j];
        for (std::size_t k = 0; k < j; ++k) sum -= a[i][k] * a[j][k];
        a[i][j] = i == j ? std::sqrt(std::max(sum, 1e-30)) : sum / a[j][j];
      }
      for (std::size_t k = 0; k < i; ++k) b[i] -= a[i][k] * b[k];
      b[i] /= a[i][i];
    }
    for (std::size_t i = order; i-- > 0;) {
      for (std::size_t k = i + 1; k < order; ++k) b[i] -= a[k][i] * b[k];
      b[i] /= a[i][i];
      coefficients_[i] = b[i];
    }
  }

  /// The energy of what was not expected, a frame, over `count` frames from `first` on.
  double surprise(std::span<const float> x, std::size_t first, std::size_t count) const {
    double energy = 0;
    for (std::size_t n = first; n < first + count; ++n) {
      double expected = 0;
      for (std::size_t i = 0; i < order; ++i) expected += coefficients_[i] * double{x[n - 1 - i]};
      energy += (double{x[n]} - expected) * (double{x[n]} - expected);
    }
    return energy / static_cast<double>(count);
  }

 private:
  double coefficients_[order] = {};
};

/// How much the spectra of the 512 frames before and after a place differ, against their size.
double spectralStep(const Sound& x, std::size_t at) {
  constexpr std::size_t size = 512;
  double difference = 0, total = 0;
  for (int bin = 1; bin < 64; ++bin) {
    double magnitude[2];
    for (const std::size_t side : {0u, 1u}) {
      double real = 0, imaginary = 0;
      for (std::size_t i = 0; i < size; ++i) {
        const double angle = 2 * std::numbers::pi * bin * static_cast<double>(i) / size;
        const double taper = 0.5 - 0.5 * std::cos(2 * std::numbers::pi * (static_cast<double>(i) + 0.5) / size);
        const double sample = taper * double{x[at - size + side * size + i]};
        real += sample * std::cos(angle);
        imaginary += sample * std::sin(angle);
      }
      magnitude[side] = std::hypot(real, imaginary);
    }
    difference += std::abs(magnitude[1] - magnitude[0]);
    total += magnitude[0] + magnitude[1];
  }
  return difference / total;
}

struct Quality {
  double click;     ///< dB of the tone
  double seamStep;  ///< of the spectrum
  double mostInside;
};

Quality qualityOf(const Sound& sound, std::size_t start, std::size_t end) {
  Sound played(sound.begin(), sound.begin() + static_cast<std::ptrdiff_t>(end));
  for (int pass = 0; pass < 2; ++pass)
    played.insert(played.end(), sound.begin() + static_cast<std::ptrdiff_t>(start),
                  sound.begin() + static_cast<std::ptrdiff_t>(end));
  const std::size_t learned = std::min<std::size_t>(end - start, 2000);
  const Predictor predictor(std::span<const float>(sound).subspan(end - learned, learned));
  double energy = 0;
  for (std::size_t i = end; i < end + 1024; ++i) energy += double{played[i]} * double{played[i]} / 1024;
  // Vibrato surprises it, too: inside the loop as much as at the seam.
  double inside = 0, mostInside = 0;
  for (std::size_t at = start + 512; at + 512 < end; at += 397) {
    inside = std::max(inside, predictor.surprise(played, at, Predictor::order));
    mostInside = std::max(mostInside, spectralStep(played, at));
  }
  const double click = predictor.surprise(played, end, Predictor::order) - inside;
  return {10 * std::log10(std::max(click / energy, 1e-12)), spectralStep(played, end), mostInside};
}

TEST(LoopQuality, seamsOfFoundLoopsCannotBeHeard) {
  int tried = 0, loud = 0, stepped = 0;
  for (const auto& model : tones::models) {
    const double hertz = ++tried % 2 == 0 ? 82.4 : 698.5;
    Sound sound = tones::tone(model, hertz, 1);
    const auto found = findLoop(sound, 1, rate, {.part = {20, 95, 30}}, [](double) { return true; });
    ASSERT_TRUE(found.loop) << model.name << ' ' << hertz;
    const auto start = static_cast<std::size_t>(found.loop->start), end = static_cast<std::size_t>(found.loop->end);
    crossfadeLoop(sound, 1, {static_cast<uint32_t>(start), static_cast<uint32_t>(end), 0, false});
    const Quality quality = qualityOf(sound, start, end);
    loud += quality.click > -60;
    stepped += quality.seamStep > quality.mostInside;
    if (quality.click > -60 || quality.seamStep > quality.mostInside)
      std::cout << model.name << " of " << hertz << " Hz: click " << quality.click << " dB, spectrum "
                << quality.seamStep << " against " << quality.mostInside << " inside\n";
  }
  EXPECT_EQ(loud, 0) << "of " << tried;
  EXPECT_EQ(stepped, 0) << "of " << tried;
}

}  // namespace
}  // namespace tervo
