#include <algorithm>

#include "dsp/fade_curve.h"
#include "tools/wave/mapped_samples.h"
#include "tools/wave/sections.h"
#include "tools/wave/wave_edit.h"
#include "tools/wave/wave_operations.h"

namespace tervo {
namespace {

/// A loop that was made for one level now changes it with every pass.
void reportLoops(const Waveform& waveform, Stretch faded, ConversionReport& report) {
  for (const Marker& marker : waveform.markers) {
    const bool isFaded = marker.end > static_cast<double>(faded.start) && marker.start < static_cast<double>(faded.end);
    if (fixup::isActiveLoop(marker) && isFaded)
      report.approximated(waveform.name, titleOf(marker) + u" " + placeOf(marker), u"one level",
                          u"a level that changes");
  }
}

SampleRef faded(const SampleRef& samples, Stretch stretch, const dsp::FadeCurve& curve) {
  const int channels = samples->channels();
  return mapped(samples, [stretch, curve, channels](std::span<float> frames, int64_t first) {
    const auto last = first + static_cast<int64_t>(frames.size()) / channels;
    const int64_t from = std::max(first, stretch.start), to = std::min(last, stretch.end);
    if (from >= to) return;
    const auto width = static_cast<std::size_t>(channels);
    const auto part =
        frames.subspan(static_cast<std::size_t>(from - first) * width, static_cast<std::size_t>(to - from) * width);
    curve.apply(part, channels, from - stretch.start);
  });
}

Outcome fade(Waveform& waveform, dsp::FadeDirection direction, const OptionValues& values, ConversionReport& report) {
  const int64_t frames = waveform.frames();
  const int64_t length = std::min(framesOf(values.number(u"length"), values, waveform), frames);
  if (length == 0) return leftAlone(waveform, u"fade", u"it has no length", report);
  const auto shape = static_cast<dsp::FadeShape>(values.choice(u"curve"));
  const bool isIn = direction == dsp::FadeDirection::in;
  const Stretch stretch = isIn ? Stretch{0, length} : Stretch{frames - length, frames};
  fixup::reportSamples(report, waveform, isIn ? u"fade in" : u"fade out", u"",
                       curveChoices[static_cast<std::size_t>(shape)]);
  reportLoops(waveform, stretch, report);
  waveform.samples = faded(waveform.samples, stretch, dsp::FadeCurve(shape, direction, length));
  return Outcome::changed;
}

}  // namespace

Outcome runFadeIn(Item& copy, const OptionValues& values, const OperationContext& context) {
  return fade(waveformIn(copy), dsp::FadeDirection::in, values, context.report);
}

Outcome runFadeOut(Item& copy, const OptionValues& values, const OperationContext& context) {
  return fade(waveformIn(copy), dsp::FadeDirection::out, values, context.report);
}

}  // namespace tervo
