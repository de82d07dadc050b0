#include "formats/instrument/sf2_units.h"

#include <algorithm>
#include <cmath>

namespace tervo::sf2 {
namespace {

constexpr double keyZeroHertz = 8.176;
constexpr int openFilter = 13500;
constexpr int noTime = -12000;
constexpr double centsPerOctave = 1200;

double toMultipleOf(double step, double value) {
  return std::round(value / step) * step;
}

}  // namespace

double hertzOf(int cents) {
  if (cents >= openFilter) return 20000;
  const double hertz = keyZeroHertz * factorOf(cents, centsPerOctave);
  if (hertz >= 1000) return toMultipleOf(10, hertz);
  return hertz >= 100 ? std::round(hertz) : std::round(hertz * 100) / 100;
}

int centsOf(double hertz) {
  if (hertz >= 20000) return openFilter;
  return static_cast<int>(std::lround(std::max(stepsOf(hertz / keyZeroHertz, centsPerOctave), -32768.0)));
}

double secondsOf(int timecents) {
  if (timecents <= noTime) return 0;
  const double seconds = factorOf(timecents, centsPerOctave);
  if (seconds > 24) return std::round(seconds * 10) / 10;
  return seconds > 2 ? std::round(seconds * 100) / 100 : seconds;
}

int timecentsOf(double seconds) {
  if (!(seconds > 0)) return noTime;
  return std::max(static_cast<int>(std::lround(stepsOf(seconds, centsPerOctave))), noTime);
}

double factorOf(double steps, double stepsPerOctave) {
  if (steps == 0) return 1;  // nearly always
  return std::exp2(steps / stepsPerOctave);
}

double stepsOf(double factor, double stepsPerOctave) {
  return std::log2(factor) * stepsPerOctave;
}

}  // namespace tervo::sf2
