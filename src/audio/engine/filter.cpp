#include "audio/engine/filter.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <numbers>

#include "audio/engine/units.h"

namespace tervo::audio {
namespace {

constexpr float invSqrt2 = 0.70710678f;
constexpr float sqrt2 = 1.41421356f;
constexpr float pi = 3.14159265f;
constexpr double firstQ24 = 0.54119610014619698;  // of the Butterworth filter of fourth order: 1 / (2 cos(pi / 8))

/// The height of the peak of the low-pass of 18 and 24 dB/oct with the resonant stage's q. By the squared frequency x,
/// cutoff 1, |H|^2 is 1 / ((1 + x) u) and 1 / (u v) with u = (1 - x)^2 + x / q^2 and v the same of the first stage.
double peakOf18(double q) {
  const double b = 1 - 1 / (q * q);
  const double x = (b + std::sqrt(b * (b + 3))) / 3;  // where the derivative of 1 - b x - b x^2 + x^3 is 0
  return 1 / std::sqrt(1 - x * (b + x * (b - x)));
}
double peakOf24(double q) {
  const double first = 1 / (firstQ24 * firstQ24) - 2, second = 1 / (q * q) - 2;
  const double sum = first + second, product = 2 + first * second;
  double x = 1;  // Newton's way down to the last minimum of 1 + sum x + product x^2 + sum x^3 + x^4
  for (int i = 0; i < 8; ++i) {
    const double slope = sum + x * (2 * product + x * (3 * sum + x * 4));
    x -= slope / (2 * product + x * (6 * sum + x * 12));
  }
  return 1 / std::sqrt(1 + x * (sum + x * (product + x * (sum + x))));
}

/// For peaks of 0 to 24 dB: the q of the resonant stage by that for which a peak so high needs when it is much higher.
class PeakTable {
 public:
  static constexpr int entries = 25;

  PeakTable(double (*peakOf)(double), double asymptote, double flatQ) {
    factors_[0] = static_cast<float>(flatQ / asymptote);
    for (std::size_t dB = 1; dB < entries; ++dB) {
      const double wanted = std::pow(10, static_cast<double>(dB) / 20);
      double low = flatQ, high = asymptote * wanted * 1.5;
      for (int i = 0; i < 24; ++i) {
        const double middle = 0.5 * (low + high);
        (peakOf(middle) < wanted ? low : high) = middle;
      }
      factors_[dB] = static_cast<float>(low / (asymptote * wanted));
    }
    asymptote_ = static_cast<float>(asymptote);
  }

  float qFor(float dB) const noexcept {
    const float place = std::clamp(dB, 0.0f, static_cast<float>(entries - 1));
    const auto index = std::min(static_cast<std::size_t>(place), std::size_t{entries - 2});
    const float t = place - static_cast<float>(index);
    return asymptote_ * gainOfDb(dB) * (factors_[index] + t * (factors_[index + 1] - factors_[index]));
  }

 private:
  float factors_[entries]{};
  float asymptote_ = 1;
};

const PeakTable& table18() {
  static const PeakTable table(peakOf18, sqrt2, 1);
  return table;
}
const PeakTable& table24() {
  static const PeakTable table(peakOf24, 1 / firstQ24, 1.3065629648763766);
  return table;
}

/// Of a low-pass of second order: the solution of peak^2 = 4 q^4 / (4 q^2 - 1).
float q12For(float dB) noexcept {
  if (dB <= 0) return invSqrt2 * gainOfDb(dB);
  const float m2 = gainOfDb(2 * dB);
  return std::sqrt(0.5f * (m2 + std::sqrt(m2 * (m2 - 1))));
}

enum class Tap : uint8_t { low, high, band, notch };

/// The output as so much of the input, the band and the low pass.
void mix(FilterStage& stage, float input, float band, float low) noexcept {
  stage.m0 = input, stage.m1 = 0.5f * band, stage.m2 = 0.5f * low;
}

FilterStage svf(float g, float q, Tap tap) noexcept {
  const float k = 1 / q;
  const float twice = 2 / (1 + g * (g + k));
  FilterStage stage{twice - 1, g * twice, g * g * twice};
  switch (tap) {
    case Tap::low:
      mix(stage, 0, 0, 1);
      break;
    case Tap::high:
      mix(stage, 1, -k, -1);
      break;
    case Tap::band:
      mix(stage, 0, sqrt2, 0);
      break;
    case Tap::notch:
      mix(stage, 1, -k, 0);
      break;
  }
  return stage;
}

FilterStage onePole(float g, Tap tap) noexcept {
  FilterStage stage{0, 0, 2 * g / (1 + g)};
  mix(stage, tap == Tap::low ? 0.0f : 1.0f, 0, tap == Tap::low ? 1.0f : -1.0f);
  return stage;
}

float warped(float hertz, float sampleRate) noexcept {
  constexpr float highest = 0.49f;
  return tangent(pi * std::clamp(hertz / sampleRate, 0.0001f, highest));
}

}  // namespace

void prepareFilters() {
  table18();
  table24();
}

int stagesOf(FilterType type) noexcept {
  constexpr uint8_t stages[] = {0, 1, 1, 2, 2, 1, 1, 2, 2, 1, 2, 1, 2, 1, 1, 1};
  return stages[static_cast<std::size_t>(type)];
}

void designFilter(FilterType type, float cutoffHertz, float resonanceDb, float sampleRate,
                  std::array<FilterStage, 2>& stages) noexcept {
  const float g = warped(cutoffHertz, sampleRate);
  const bool isHigh = type >= FilterType::highPass6 && type <= FilterType::highPass24;
  const Tap tap = isHigh ? Tap::high : Tap::low;
  switch (type) {
    case FilterType::lowPass6:
    case FilterType::highPass6:
      stages[0] = onePole(g, tap);
      break;
    case FilterType::lowPass12:
    case FilterType::highPass12:
      stages[0] = svf(g, q12For(resonanceDb), tap);
      break;
    case FilterType::lowPass18:
    case FilterType::highPass18:
      stages = {onePole(g, tap), svf(g, table18().qFor(resonanceDb), tap)};
      break;
    case FilterType::lowPass24:
    case FilterType::highPass24:
      stages = {svf(g, static_cast<float>(firstQ24), tap), svf(g, table24().qFor(resonanceDb), tap)};
      break;
    case FilterType::bandPass6:
      stages[0] = svf(g, invSqrt2 * gainOfDb(resonanceDb), Tap::band);
      break;
    case FilterType::bandPass12:
      stages[0] = stages[1] = svf(g, invSqrt2 * gainOfDb(0.5f * resonanceDb), Tap::band);
      break;
    case FilterType::bandReject6:
    case FilterType::bandReject12:
      stages[0] = stages[1] = svf(g, invSqrt2 * gainOfDb(resonanceDb), Tap::notch);
      break;
    default:
      stages = {};
  }
}

FilterStage designBand(FilterType type, float hertz, float gainDb, float q, float sampleRate) noexcept {
  // Cookbook shapes on the same structure; a is the square root of the gain.
  const float a = amplitudeOf40Log(gainDb), g = warped(hertz, sampleRate), width = std::max(q, 0.01f);
  if (type == FilterType::lowShelf) {
    FilterStage stage = svf(g / std::sqrt(a), width, Tap::notch);
    mix(stage, 1, (a - 1) / width, a * a - 1);
    return stage;
  }
  if (type == FilterType::highShelf) {
    FilterStage stage = svf(g * std::sqrt(a), width, Tap::notch);
    mix(stage, a * a, (1 - a) * a / width, 1 - a * a);
    return stage;
  }
  FilterStage stage = svf(g, width * a, Tap::notch);
  mix(stage, 1, (a * a - 1) / (width * a), 0);
  return stage;
}

double magnitudeOf(const FilterStage& stage, double turnsPerFrame) {
  // The two states as transfer functions: s1 = a2 (z - 1) / d and s2 = ((z - a1) a3 + a2^2) / d.
  const std::complex<double> z = std::polar(1.0, 2 * std::numbers::pi * turnsPerFrame);
  const double a1 = double{stage.a1}, a2 = double{stage.a2}, a3 = double{stage.a3};
  const std::complex<double> d = (z - a1) * (z - 1.0 + a3) + a2 * a2;
  const std::complex<double> band = a2 * (z - 1.0) / d, low = ((z - a1) * a3 + a2 * a2) / d;
  return std::abs(double{stage.m0} + (1.0 + z) * (double{stage.m1} * band + double{stage.m2} * low));
}

double filterDb(FilterType type, float cutoffHertz, float resonanceDb, double hertz, float sampleRate) {
  std::array<FilterStage, 2> stages;
  designFilter(type, cutoffHertz, resonanceDb, sampleRate, stages);
  double gain = 1;
  for (int i = 0; i < stagesOf(type); ++i)
    gain *= magnitudeOf(stages[static_cast<std::size_t>(i)], hertz / double{sampleRate});
  return 20 * std::log10(std::max(gain, 1e-10));
}

}  // namespace tervo::audio
