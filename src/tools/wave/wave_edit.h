#pragma once
// What the operations on waveforms share.

#include <cmath>

#include "core/normalise/pass.h"
#include "core/waveform.h"
#include "tools/operation.h"
#include "tools/wave/selectors.h"

namespace tervo {

inline Waveform& waveformIn(Item& item) {
  return static_cast<Waveform&>(item);
}

inline double factorOf(double dB) {
  return std::pow(10.0, dB / 20);
}
/// Minus infinity for 0.
inline double decibels(double factor) {
  return 20 * std::log10(factor);
}
/// "-3.01 dB"; "silence" for minus infinity.
Text decibelText(double dB);

/// Reports a peak beyond full scale, where writers clip integers.
void reportPeak(const Waveform& waveform, double peak, ConversionReport& report);

/// Says why nothing is done to a waveform.
inline Outcome leftAlone(const Waveform& waveform, TextView what, TextView why, ConversionReport& report) {
  report.add({waveform.name, Text(what), ReportKind::kept, u"", Text(why)});
  return Outcome::nothingToDo;
}

/// The frames times a factor.
SampleRef amplified(SampleRef samples, double factor);

}  // namespace tervo
