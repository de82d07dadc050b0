#include <fmt/format.h>

#include "dsp/dither.h"
#include "tools/wave/mapped_samples.h"
#include "tools/wave/wave_edit.h"
#include "tools/wave/wave_operations.h"

namespace tervo {
namespace {

/// The narrowest format that holds integers of so many bits.
SampleFormat formatFor(int bits) {
  if (bits <= 8) return SampleFormat::pcm8;
  if (bits <= 12) return SampleFormat::pcm12;
  if (bits <= 16) return SampleFormat::pcm16;
  return bits <= 20 ? SampleFormat::pcm20 : SampleFormat::pcm24;
}

/// Whether the samples are integers of no more bits, as they were stored.
bool hasSoFewBits(const Waveform& waveform, int bits) {
  return waveform.samples->stored() && formatOf(waveform.storedFormat) <= SampleFormat::pcm32 &&
         waveform.storedBits <= bits;
}

}  // namespace

Outcome runReduceBits(Item& copy, const OptionValues& values, const OperationContext& context) {
  Waveform& waveform = waveformIn(copy);
  const int bits = values.integer(u"bits"), channels = waveform.channels();
  const auto dither = static_cast<dsp::Dither>(values.choice(u"dither"));
  if (hasSoFewBits(waveform, bits)) return leftAlone(waveform, u"bits", u"there are no more", context.report);
  context.report.approximated(
      waveform.name, u"bits", nameOf(formatOf(waveform.storedFormat)),
      fromUtf8(fmt::format("{} bits, dither: ", bits)) + Text(ditherChoices[values.choice(u"dither")]));
  const auto quantiser = [=] {
    return [quantiser = dsp::Quantiser(bits, dither, channels)](std::span<const float> in, std::span<float> out,
                                                                int64_t first) mutable {
      quantiser.apply(in, out, first);
    };
  };
  waveform.samples = dither == dsp::Dither::shaped ? mappedInOrder(waveform.samples, quantiser)
                                                   : mapped(waveform.samples, quantiser());
  waveform.setStoredFormat(formatFor(bits), 0);
  return Outcome::changed;
}

}  // namespace tervo
