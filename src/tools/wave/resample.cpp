#include <fmt/format.h>

#include "base/last_error.h"
#include "core/resampled_samples.h"
#include "tools/wave/wave_edit.h"
#include "tools/wave/wave_operations.h"

namespace tervo {

Outcome runResample(Item& copy, const OptionValues& values, const OperationContext& context) {
  Waveform& waveform = waveformIn(copy);
  const double before = waveform.sampleRate, rate = values.number(u"to");
  if (rate == before) return leftAlone(waveform, u"sample rate", u"as wanted", context.report);
  auto samples = resampled(waveform.samples, before, rate);
  if (!samples) return Outcome::failed;
  if (samples->frames() == 0) return fail(u"No frames would be left of \"" + waveform.name + u"\""), Outcome::failed;
  const auto text = [](double hertz) { return fromUtf8(fmt::format("{:.12g} Hz", hertz)); };
  context.report.approximated(waveform.name, u"sample rate", text(before), text(rate));
  waveform.samples = std::move(samples);
  waveform.markers = scaledMarkers(waveform.markers, rate / before, waveform.frames());
  waveform.sampleRate = rate;
  return Outcome::changed;
}

}  // namespace tervo
