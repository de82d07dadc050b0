#include "audio/engine/sinc_table.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace tervo::audio {
namespace {

constexpr std::size_t tapsAtFullBand = 32, mostTaps = 256;
constexpr double kaiserBeta = 9.0;  // side lobes below -90 dB

/// But for a factor, which does not matter.
double kaiser(double x) {
  return std::abs(x) >= 1 ? 0.0 : std::cyl_bessel_i(0.0, kaiserBeta * std::sqrt(1 - x * x));
}

double sinc(double x) {
  if (x == std::round(x)) return x == 0 ? 1.0 : 0.0;
  return std::sin(std::numbers::pi * x) / (std::numbers::pi * x);
}

}  // namespace

SincTable::SincTable(double framesPerFrame) : step_(framesPerFrame) {
  const double cutoff = std::min(1.0, 1.0 / framesPerFrame);
  taps_ = std::min(mostTaps, 8 * static_cast<std::size_t>(std::ceil(tapsAtFullBand / 8 / cutoff)));
  const double half = static_cast<double>(taps_) / 2;
  table_.resize((phases + 1) * taps_);
  std::vector<double> row(taps_);
  for (std::size_t phase = 0; phase <= phases; ++phase) {
    double sum = 0;
    for (std::size_t tap = 0; tap < taps_; ++tap) {
      const double x = static_cast<double>(tap) - (half - 1) - static_cast<double>(phase) / phases;
      row[tap] = sinc(cutoff * x) * kaiser(x / half);
      sum += row[tap];
    }
    // What does not move comes out as it is.
    for (std::size_t tap = 0; tap < taps_; ++tap) table_[phase * taps_ + tap] = static_cast<float>(row[tap] / sum);
  }
}

void SincTable::weights(double fraction, float* out) const noexcept {
  const double place = fraction * phases;
  const auto phase = static_cast<std::size_t>(place);
  const auto t = static_cast<float>(place - static_cast<double>(phase));
  const float* low = &table_[phase * taps_];
  const float* high = low + taps_;
  for (std::size_t tap = 0; tap < taps_; ++tap) out[tap] = low[tap] + t * (high[tap] - low[tap]);
}

}  // namespace tervo::audio
