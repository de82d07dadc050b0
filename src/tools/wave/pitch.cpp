// Operations that listen for the pitch of a waveform.

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "core/normalise/sample_views.h"
#include "core/resampled_samples.h"
#include "dsp/pitch_estimator.h"
#include "tools/wave/played_pitch.h"
#include "tools/wave/sample_scan.h"
#include "tools/wave/wave_edit.h"
#include "tools/wave/wave_operations.h"

namespace tervo {
namespace {

constexpr double furthestTuning = 100;  // cents; what is further off is another note

/// What there is to say about the pitch: it may be that there is none.
struct Heard {
  bool failed = false;  ///< reading; LastErrorText says why
  std::optional<Pitch> pitch = {};
};

Heard heardIn(const SampleRef& mono, double sampleRate, Host& host) {
  std::vector<float> frames;
  const bool read = scan(mono, host, [&frames](std::span<const float> block, int64_t) {
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
  return heard.failed ? Outcome::failed : leftAlone(waveform, u"pitch", u"no single one was found", report);
}

/// Where regions cannot all be in tune.
void reportDifferent(const Waveform& waveform, const PlayedPitch& wanted, ConversionReport& report) {
  if (wanted.different == 0) return;
  const Text what = fromUtf8(fmt::format("tuning of {} of {} regions", wanted.different, wanted.regions));
  report.add({waveform.name, what, ReportKind::kept, u"", u"they have another root key or tuning of their own"});
}

/// To where the waveform is in tune when it plays at the pitch that was heard.
Outcome setTuning(Waveform& waveform, double rootKey, double cents, ConversionReport& report) {
  constexpr double inaudible = 0.1;
  const double before = static_cast<double>(waveform.fineTune);
  if (std::abs(cents - before) < inaudible) cents = before;
  if (rootKey == waveform.rootKey && cents == before) return leftAlone(waveform, u"tuning", u"as it should be", report);
  report.add({waveform.name, u"tuning", ReportKind::kept, keyText(waveform.rootKey, before), keyText(rootKey, cents)});
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
  waveform.markers = scaledMarkers(waveform.markers, 1 / ratio, waveform.frames());
  waveform.fineTune = 0;
  return Outcome::changed;
}

}  // namespace

Outcome runDetectRootKey(Item& copy, const OptionValues& values, const OperationContext& context) {
  Waveform& waveform = waveformIn(copy);
  const Heard heard = heardIn(waveform, context.host);
  if (!heard.pitch) return nothingHeard(heard, waveform, context.report);
  const double key = keyOf(*heard.pitch), root = std::clamp(std::round(key), 0.0, 127.0);
  const PlayedPitch wanted = playedPitch(root, 100 * key, context);
  const double before = static_cast<double>(waveform.fineTune), cents = wanted.cents - 100 * key;
  if (!values.flag(u"fine-tune")) return setTuning(waveform, root, before, context.report);
  reportDifferent(waveform, wanted, context.report);
  if (std::abs(cents) <= furthestTuning) return setTuning(waveform, root, cents, context.report);
  context.report.add({waveform.name, u"fine tune", ReportKind::kept, u"", u"regions play it at another pitch"});
  return setTuning(waveform, root, before, context.report);
}

Outcome runTuneToRoot(Item& copy, const OptionValues& values, const OperationContext& context) {
  Waveform& waveform = waveformIn(copy);
  const Heard heard = heardIn(waveform, context.host);
  if (!heard.pitch) return nothingHeard(heard, waveform, context.report);
  const double key = keyOf(*heard.pitch);
  const PlayedPitch wanted = playedPitch(waveform.rootKey, 100 * key, context);
  const double cents = wanted.cents - 100 * key;
  const bool resamples = values.choice(u"by") == 1;
  if (std::abs(cents) > (resamples ? 4800 : furthestTuning)) {
    context.report.add(
        {waveform.name, u"tuning", ReportKind::kept, keyText(std::round(key), 0), u"too far from the root key"});
    return Outcome::nothingToDo;
  }
  reportDifferent(waveform, wanted, context.report);
  if (!resamples) return setTuning(waveform, waveform.rootKey, cents, context.report);
  if (std::abs(cents) < 0.1 && waveform.fineTune == 0)
    return leftAlone(waveform, u"tuning", u"as it should be", context.report);
  return transpose(waveform, cents, context.report);
}

}  // namespace tervo
