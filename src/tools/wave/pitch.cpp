// Operations that listen for the pitch of a waveform.

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "core/normalise/sample_views.h"
#include "core/resampled_samples.h"
#include "dsp/pitch_estimator.h"
#include "tools/wave/sample_scan.h"
#include "tools/wave/wave_edit.h"
#include "tools/wave/wave_operations.h"

namespace tervo {
namespace {

/// What there is to say about the pitch: it may be that there is none.
struct Heard {
  bool failed = false;  ///< reading; LastErrorText says why
  std::optional<Pitch> pitch = {};
};

Heard heardIn(const SampleRef& mono, double sampleRate, Host& host) {
  std::vector<float> frames;
  const bool read = scan(*mono, host, [&frames](std::span<const float> block, int64_t) {
    frames.insert(frames.end(), block.begin(), block.end());
    return true;
  });
  if (!read) return {.failed = true};
  for (float& sample : frames) sample = std::isfinite(sample) ? sample : 0;
  auto pitch = estimatePitch(frames, sampleRate);
  if (pitch) pitch->hertz = refinePitch(frames, sampleRate, *pitch);
  return {.pitch = pitch};
}

/// Both channels together, else the left one: opposite phases cancel each other.
Heard heardIn(const Waveform& waveform, Host& host) {
  const Heard mixed = heardIn(withChannels(waveform.samples, 1), waveform.sampleRate, host);
  if (mixed.failed || mixed.pitch || waveform.channels() == 1) return mixed;
  return heardIn(fixup::channelOf(waveform.samples, 0), waveform.sampleRate, host);
}

/// The pitch as a MIDI key, with fractions.
double keyOf(const Pitch& pitch) {
  return 69 + 12 * std::log2(pitch.hertz / 440);
}

Text keyText(double key, double cents) {
  return fromUtf8(fmt::format("key {}, {:+.1f} cents", key, cents));
}

Outcome nothingHeard(const Heard& heard, const Waveform& waveform, ConversionReport& report) {
  if (heard.failed) return Outcome::failed;
  report.add({waveform.name, u"pitch", ReportKind::kept, u"", u"no single one was found"});
  return Outcome::nothingToDo;
}

/// To where the waveform is in tune when it plays at the pitch that was heard.
Outcome setTuning(Waveform& waveform, double rootKey, double cents, ConversionReport& report) {
  constexpr double inaudible = 0.1;
  if (rootKey == waveform.rootKey && std::abs(cents - static_cast<double>(waveform.fineTune)) < inaudible)
    return Outcome::nothingToDo;
  report.add({waveform.name, u"tuning", ReportKind::kept,
              keyText(waveform.rootKey, static_cast<double>(waveform.fineTune)), keyText(rootKey, cents)});
  waveform.rootKey = static_cast<uint8_t>(rootKey);
  waveform.fineTune = static_cast<float>(cents);
  return Outcome::changed;
}

Outcome transpose(Waveform& waveform, double cents, ConversionReport& report) {
  const double ratio = std::exp2(cents / 1200);
  auto samples = resampled(waveform.samples, waveform.sampleRate * ratio, waveform.sampleRate);
  if (!samples) return Outcome::failed;
  report.approximated(waveform.name, u"pitch", u"", fromUtf8(fmt::format("{:+.1f} cents, resampled", cents)));
  waveform.samples = std::move(samples);
  waveform.markers = scaledMarkers(waveform.markers, 1 / ratio);
  waveform.fineTune = 0;
  return Outcome::changed;
}

}  // namespace

Outcome runDetectRootKey(Item& copy, const OptionValues& values, const OperationContext& context) {
  Waveform& waveform = waveformIn(copy);
  const Heard heard = heardIn(waveform, context.host);
  if (!heard.pitch) return nothingHeard(heard, waveform, context.report);
  const double key = keyOf(*heard.pitch), root = std::clamp(std::round(key), 0.0, 127.0);
  return setTuning(waveform, root, values.flag(u"fine-tune") ? 100 * (root - key) : 0, context.report);
}

Outcome runTuneToRoot(Item& copy, const OptionValues& values, const OperationContext& context) {
  Waveform& waveform = waveformIn(copy);
  const Heard heard = heardIn(waveform, context.host);
  if (!heard.pitch) return nothingHeard(heard, waveform, context.report);
  const double cents = 100 * (waveform.rootKey - keyOf(*heard.pitch));
  const bool resamples = values.choice(u"by") == 1;
  if (std::abs(cents) > (resamples ? 4800 : 100)) {
    context.report.add({waveform.name, u"tuning", ReportKind::kept, keyText(std::round(keyOf(*heard.pitch)), 0),
                        u"too far from the root key"});
    return Outcome::nothingToDo;
  }
  if (!resamples) return setTuning(waveform, waveform.rootKey, cents, context.report);
  return std::abs(cents) < 0.1 && waveform.fineTune == 0 ? Outcome::nothingToDo
                                                         : transpose(waveform, cents, context.report);
}

}  // namespace tervo
