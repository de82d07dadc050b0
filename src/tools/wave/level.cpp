// Operations that change how loud a waveform is.

#include <fmt/format.h>

#include "base/last_error.h"
#include "dsp/frame_kernels.h"
#include "tools/wave/mapped_samples.h"
#include "tools/wave/sample_scan.h"
#include "tools/wave/wave_edit.h"
#include "tools/wave/wave_operations.h"

namespace tervo {
namespace {

Outcome amplify(Waveform& waveform, double factor, double peak, ConversionReport& report) {
  constexpr double inaudible = 1e-6;
  if (std::abs(factor - 1) < inaudible) return leftAlone(waveform, u"level", u"as wanted", report);
  fixup::reportSamples(report, waveform, u"level", u"", decibelText(decibels(factor)));
  reportPeak(waveform, peak * factor, report);
  waveform.samples = amplified(waveform.samples, factor);
  return Outcome::changed;
}

}  // namespace

Text decibelText(double dB) {
  return std::isinf(dB) ? Text(u"silence") : fromUtf8(fmt::format("{:+.2f} dB", dB));
}

void reportPeak(const Waveform& waveform, double peak, ConversionReport& report) {
  constexpr double rounded = 1.000001;
  if (peak > rounded) report.approximated(waveform.name, u"peak", decibelText(decibels(peak)), u"0 dB in integers");
}

SampleRef amplified(SampleRef samples, double factor) {
  return mapped(std::move(samples), [by = static_cast<float>(factor)](std::span<const float> in, std::span<float> out,
                                                                      int64_t) { dsp::multiply(in, out, by); });
}

Outcome runGain(Item& copy, const OptionValues& values, const OperationContext& context) {
  Waveform& waveform = waveformIn(copy);
  const double factor = factorOf(values.number(u"by"));
  const auto peak = factor > 1 ? peakOf(waveform.samples, context.host) : 0;
  return peak ? amplify(waveform, factor, *peak, context.report) : Outcome::failed;
}

Outcome runNormalise(Item& copy, const OptionValues& values, const OperationContext& context) {
  Waveform& waveform = waveformIn(copy);
  const auto peak = peakOf(waveform.samples, context.host);
  if (!peak) return Outcome::failed;
  constexpr float silence = 1e-10f;  // what is softer would need gains that are no numbers
  if (*peak < silence) return leftAlone(waveform, u"level", u"there is just silence", context.report);
  const double target = factorOf(values.number(u"to"));
  return amplify(waveform, target / static_cast<double>(*peak), *peak, context.report);
}

}  // namespace tervo
