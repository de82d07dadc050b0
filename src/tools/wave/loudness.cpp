#include <fmt/format.h>

#include <algorithm>

#include "base/last_error.h"
#include "dsp/loudness.h"
#include "tools/wave/sample_scan.h"
#include "tools/wave/wave_edit.h"
#include "tools/wave/wave_operations.h"

namespace tervo {
namespace {

Text loudnessText(double loudness) {
  return fromUtf8(fmt::format("{:.2f} LUFS", loudness));
}

}  // namespace

Outcome runNormaliseLoudness(Item& copy, const OptionValues& values, const OperationContext& context) {
  Waveform& waveform = waveformIn(copy);
  const auto meter = dsp::LoudnessMeter::create(waveform.channels(), waveform.sampleRate);
  if (!meter) return leftAlone(waveform, u"loudness", LastErrorText(), context.report);
  const bool read =
      scan(waveform.samples, context.host, [&](std::span<const float> frames, int64_t) { return meter->add(frames); });
  if (!read) return Outcome::failed;
  const auto loudness = meter->loudness();
  if (!loudness) return leftAlone(waveform, u"loudness", u"too short or too soft to be measured", context.report);
  const double wanted = values.number(u"to") - *loudness;
  const double most = values.number(u"peak") - decibels(meter->truePeak());
  const double gain = std::min(wanted, most);
  if (std::abs(gain) < 1e-3) return leftAlone(waveform, u"loudness", u"as wanted", context.report);
  fixup::reportSamples(context.report, waveform, u"loudness", loudnessText(*loudness), loudnessText(*loudness + gain));
  if (most < wanted)
    context.report.approximated(waveform.name, u"loudness wanted", loudnessText(values.number(u"to")),
                                u"less, because of the peaks");
  reportPeak(waveform, meter->truePeak() * factorOf(gain), context.report);
  waveform.samples = amplified(waveform.samples, factorOf(gain));
  return Outcome::changed;
}

}  // namespace tervo
