// Operations that change what the channels of a waveform are.

#include "base/last_error.h"
#include "core/normalise/sample_views.h"
#include "dsp/frame_kernels.h"
#include "tools/wave/mapped_samples.h"
#include "tools/wave/sample_scan.h"
#include "tools/wave/wave_edit.h"
#include "tools/wave/wave_operations.h"

namespace tervo {
namespace {

enum class Channels : uint8_t { stereo, mono, left, right, difference, swapped };

SampleRef differenceOf(const SampleRef& stereo) {
  return withChannels(mapped(stereo,
                             [](std::span<const float> in, std::span<float> out, int64_t) {
                               constexpr float factors[] = {1, -1};
                               dsp::multiplyChannels(in, out, factors);
                             }),
                      1);
}

SampleRef converted(const SampleRef& samples, Channels to) {
  switch (to) {
    case Channels::stereo:
      return withChannels(samples, 2);
    case Channels::mono:
      return withChannels(samples, 1);
    case Channels::left:
      return fixup::channelOf(samples, 0);
    case Channels::right:
      return fixup::channelOf(samples, 1);
    case Channels::difference:
      return differenceOf(samples);
    case Channels::swapped:
      return fixup::swapped(samples);
  }
  return samples;
}

}  // namespace

Outcome runChangeChannels(Item& copy, const OptionValues& values, const OperationContext& context) {
  Waveform& waveform = waveformIn(copy);
  const auto to = static_cast<Channels>(values.choice(u"to"));
  if ((to == Channels::stereo) == (waveform.channels() == 2))
    return leftAlone(waveform, u"channels", waveform.channels() == 2 ? u"there are two" : u"there is one",
                     context.report);
  const TextView before = waveform.channels() == 2 ? u"stereo" : u"mono";
  fixup::reportSamples(context.report, waveform, u"channels", before, channelChoices[values.choice(u"to")]);
  if (to == Channels::left || to == Channels::right)
    context.report.dropped(waveform.name, to == Channels::left ? u"right channel" : u"left channel", u"");
  waveform.samples = converted(waveform.samples, to);
  return Outcome::changed;
}

Outcome runInvertPhase(Item& copy, const OptionValues& values, const OperationContext& context) {
  Waveform& waveform = waveformIn(copy);
  const std::size_t side = values.choice(u"channel");
  if (waveform.channels() == 1 && side > 0) return leftAlone(waveform, u"channels", u"there is one", context.report);
  const float left = side == 2 ? 1 : -1, right = side == 1 ? 1 : -1;
  const std::vector<float> factors = waveform.channels() == 1 ? std::vector{left} : std::vector{left, right};
  fixup::reportSamples(context.report, waveform, u"phase", u"", u"inverted");
  waveform.samples = mapped(waveform.samples, [factors](std::span<const float> in, std::span<float> out, int64_t) {
    dsp::multiplyChannels(in, out, factors);
  });
  return Outcome::changed;
}

}  // namespace tervo
