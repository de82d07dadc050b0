#include "formats/prepared_waveform.h"

#include "base/last_error.h"
#include "core/resampled_samples.h"
#include "formats/number_text.h"
#include "formats/writer_rules.h"

namespace tervo {
namespace {

bool convertChannels(Waveform& waveform, int channels, ConversionReport& report) {
  const int before = waveform.channels();
  if (before == channels) return true;
  waveform.samples = withChannels(waveform.samples, channels);
  if (!waveform.samples) return false;
  if (channels < before) report.approximated(waveform.name, u"channels", numberText(before), numberText(channels));
  return true;
}

bool convertRate(Waveform& waveform, double rate, ConversionReport& report) {
  if (waveform.sampleRate == rate) return true;
  waveform.samples = resampled(waveform.samples, waveform.sampleRate, rate);
  if (!waveform.samples) return false;
  waveform.markers = scaledMarkers(waveform.markers, rate / waveform.sampleRate, waveform.frames());
  report.approximated(waveform.name, u"sample rate", numberText(waveform.sampleRate) + u" Hz",
                      numberText(rate) + u" Hz");
  waveform.sampleRate = rate;
  return true;
}

}  // namespace

std::unique_ptr<Waveform> preparedFor(const FormatDescriptor& row, const Waveform& waveform, const SaveOptions& options,
                                      ConversionReport& report) {
  if (!waveform.samples) return fail(u"Empty item - nothing to save");
  auto copy = std::make_unique<Waveform>();
  copySound(waveform, *copy);
  const int channels = channelsFor(row.flags, options.channels.value_or(waveform.channels()));
  const double rate = options.sampleRate.value_or(fixedRateOf(row).value_or(waveform.sampleRate));
  // The channels first: fewer of them are cheaper to resample.
  if (!convertChannels(*copy, channels, report) || !convertRate(*copy, rate, report)) return nullptr;
  return copy;
}

}  // namespace tervo
