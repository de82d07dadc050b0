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
  return mapped(samples, [stretch, curve, channels](std::span<const float> in, std::span<float> out, int64_t first) {
    // Where the fade begins and ends in the block, in samples.
    const auto placeOf = [&](int64_t frame) {
      return static_cast<std::size_t>(std::clamp((frame - first) * channels, int64_t{0}, std::ssize(in)));
    };
    const std::size_t from = placeOf(stretch.start), to = placeOf(stretch.end);
    std::copy_n(in.begin(), from, out.begin());
    const auto begin = static_cast<int64_t>(from) / channels + first - stretch.start;
    curve.apply(in.subspan(from, to - from), out.subspan(from, to - from), channels, begin);
    std::copy(in.begin() + static_cast<std::ptrdiff_t>(to), in.end(), out.begin() + static_cast<std::ptrdiff_t>(to));
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
