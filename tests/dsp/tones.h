#pragma once
// Physically modelled tones whose fundamental is known, for tests and benchmarks: sums of partials with the spectrum,
// decay, stiffness and vibrato of families of instruments.

#include <cmath>
#include <numbers>
#include <random>
#include <span>
#include <vector>

namespace tervo::tones {

struct Model {
  const char* name;
  double slope;         ///< partial n has amplitude n^-slope
  double evenPartials;  ///< factor of partials 2, 4, 6 ... (a closed pipe has hardly any)
  double fundamental;   ///< factor of partial 1
  double decay;         ///< of partial n: e^(-decay · sqrt(n) · seconds)
  double stiffness;     ///< partial n is at n · sqrt((1 + stiffness · n²) / (1 + stiffness)) times the pitch
  double vibratoCents;  ///< up and down, six times a second
  int partials;
};

// clang-format off
inline constexpr Model models[] = {
    // name             slope  even  first  decay  stiff  vibrato  partials
    {"sine",            0,     0,    1,     0,     0,     0,       1},
    {"plucked string",  1,     1,    1,     3,     0,     0,       16},
    {"struck string",   1.2,   1,    0.3,   2,     5e-5,  0,       14},
    {"closed pipe",     1,     0.03, 1,     0,     0,     0,       11},
    {"bright reed",     0.6,   1,    0.5,   0,     0,     0,       16},
    {"flute",           2.5,   1,    1,     0,     0,     8,       5},
    {"bowed string",    1.1,   1,    1,     0,     0,     15,      14},
    {"weak fundamental",0.8,   1,    0.03,  0.5,   0,     0,       12},
};
// clang-format on

/// A tone of the model with its loudest moment near half of full scale; partials above 0.45 of the rate are left out.
inline std::vector<float> tone(const Model& model, double hertz, double seconds, double rate = 44100) {
  const auto frames = static_cast<std::size_t>(seconds * rate);
  std::vector<double> sum(frames);
  const double depth = std::exp2(model.vibratoCents / 1200) - 1, wobble = 2 * std::numbers::pi * 6 / rate;
  for (int n = 1; n <= model.partials; ++n) {
    const double stretch = std::sqrt((1 + model.stiffness * n * n) / (1 + model.stiffness));
    const double partial = n * hertz * stretch;
    if (partial > 0.45 * rate) break;
    double amplitude = std::pow(n, -model.slope) * (n == 1 ? model.fundamental : 1);
    if (n % 2 == 0) amplitude *= model.evenPartials;
    const double step = 2 * std::numbers::pi * partial / rate, fall = model.decay * std::sqrt(n) / rate;
    for (std::size_t i = 0; i < frames; ++i) {
      const double t = static_cast<double>(i);
      // The integral of step · (1 + depth · cos(wobble · t)).
      const double phase = step * (t + depth / wobble * std::sin(wobble * t)) + 1.7 * n;
      sum[i] += amplitude * std::exp(-fall * t) * std::sin(phase);
    }
  }
  double peak = 1e-9;
  for (const double x : sum) peak = std::max(peak, std::abs(x));
  std::vector<float> samples(frames);
  for (std::size_t i = 0; i < frames; ++i) samples[i] = static_cast<float>(0.5 * sum[i] / peak);
  return samples;
}

/// -1 .. 1. By hand, because standard distributions differ between libraries.
inline double uniform(std::mt19937& random) {
  return static_cast<double>(random()) / 2147483647.5 - 1;
}

/// Adds white noise, `decibels` below the sound as a whole.
inline void addNoise(std::span<float> samples, double decibels, uint32_t seed = 1) {
  double energy = 0;
  for (const float x : samples) energy += double{x} * double{x};
  const double level = std::sqrt(energy / static_cast<double>(samples.size())) * std::pow(10, -decibels / 20);
  std::mt19937 random(seed);
  const double peak = level * std::sqrt(3.0);
  for (float& x : samples) x += static_cast<float>(peak * uniform(random));
}

inline std::vector<float> noise(std::size_t frames, double amplitude = 0.5, uint32_t seed = 1) {
  std::mt19937 random(seed);
  std::vector<float> samples(frames);
  for (float& x : samples) x = static_cast<float>(amplitude * uniform(random));
  return samples;
}

}  // namespace tervo::tones
