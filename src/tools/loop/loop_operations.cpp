#include "tools/loop/loop_operations.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "base/last_error.h"
#include "tools/loop/loop_frames.h"
#include "tools/loop/loop_regions.h"
#include "tools/loop/zero_crossings.h"
#include "tools/part_host.h"
#include "tools/wave/sections.h"
#include "tools/wave/wave_edit.h"

namespace tervo {
namespace {

Text rangeOf(double start, double end) {
  return fromUtf8(fmt::format("{}..{}", start, end));
}

Marker* mainLoopOf(Waveform& waveform) {
  for (Marker& marker : waveform.markers)
    if (marker.type == MarkerType::loop) return &marker;
  return nullptr;
}

LoopFinderOptions finderOptions(const OptionValues& values) {
  LoopFinderOptions options;
  options.part = {values.number(u"from"), values.number(u"to"), values.number(u"shortest")};
  options.highPass = values.flag(u"high-pass");
  options.fractionalStart = values.flag(u"fractional");
  options.tune = values.flag(u"tune");
  options.checkChannels = values.flag(u"check-channels");
  options.take = static_cast<std::size_t>(values.integer(u"take"));
  options.candidates = static_cast<std::size_t>(values.integer(u"candidates"));
  return options;
}

void reportCandidates(const Waveform& waveform, const LoopFinding& found, std::size_t wanted,
                      ConversionReport& report) {
  const auto text = [](std::size_t number) { return fromUtf8(fmt::format("{}", number)); };
  if (wanted > found.candidates.size())
    report.approximated(waveform.name, u"loop candidate wanted", text(wanted),
                        text(found.candidates.size()) + u", the last one");
  for (std::size_t i = 0; i < found.candidates.size(); ++i) {
    const LoopCandidate& each = found.candidates[i];
    std::string score = fmt::format("score {:.6f}", static_cast<double>(each.pair.score));
    if (each.channelScores.size() == 2)
      score += fmt::format(" (left {:.6f}, right {:.6f})", each.channelScores[0], each.channelScores[1]);
    const Text what = Text(loopCandidate) + text(i + 1) + (i == found.taken ? u", taken" : u"");
    report.add({waveform.name, what, ReportKind::kept,
                rangeOf(static_cast<double>(each.pair.start), static_cast<double>(each.pair.end)), fromUtf8(score)});
  }
}

/// Its name and number in the source stay; what it was tuned by was meant for other frames.
void setMainLoop(Waveform& waveform, const FoundLoop& found, bool untilRelease) {
  Marker* loop = mainLoopOf(waveform);
  if (!loop) {
    waveform.markers.push_back({.type = MarkerType::loop});
    loop = &waveform.markers.back();
  }
  loop->start = found.start;
  loop->end = found.end;
  loop->loopType = LoopType::forward;
  loop->loopCount = untilRelease ? loopUntilRelease : loopForever;
  loop->loopPitch = static_cast<float>(found.pitch);
}

uint32_t wholeStart(const Marker& loop) {
  return static_cast<uint32_t>(std::floor(std::max(loop.start, 0.0)));
}
uint32_t wholeEnd(const Marker& loop) {
  return static_cast<uint32_t>(std::ceil(std::max(loop.end, 0.0)));
}

Outcome noLoop(const Waveform& waveform, TextView why, const OperationContext& context) {
  return leftAlone(waveform, u"loop", why, context.report);
}

void reportCrossfade(const Waveform& waveform, const Crossfaded& done, ConversionReport& report) {
  fixup::reportSamples(report, waveform, u"crossfaded loop", u"", fromUtf8(fmt::format("{} frames", done.frames)));
  if (done.clipped == 0) return;
  const Text samples = fromUtf8(fmt::format("{} samples", done.clipped));
  report.approximated(waveform.name, samples + u" of the crossfade", u"above full scale", u"full scale");
}

/// Ends the frames behind the loop, and the markers with them.
void endBehindLoop(Waveform& waveform, LoopFrames& frames, const Marker& loop, const OperationContext& context) {
  const auto text = [](std::size_t count) { return fromUtf8(fmt::format("{}", count)); };
  const std::size_t before = frames.count();
  cutAfterLoop(frames, wholeStart(loop), wholeEnd(loop));
  fixup::reportSamples(context.report, waveform, u"frames", text(before), text(frames.count()));
  const auto count = static_cast<int64_t>(frames.count());
  moveMarkers(waveform, {{0, count}}, count, context);
}

/// What changes the frames around the loop that was found; true when it did.
bool finishLoop(Waveform& waveform, LoopFrames& frames, const OptionValues& values, const OperationContext& context) {
  const Marker loop = *mainLoopOf(waveform);
  const bool untilRelease = values.flag(u"until-release"), cuts = values.flag(u"cut") && !untilRelease;
  Crossfaded faded;
  if (values.flag(u"crossfade"))
    faded =
        crossfadeLoop(frames.interleaved, frames.channels, {wholeStart(loop), wholeEnd(loop), 0, untilRelease, false});
  if (faded.frames > 0) reportCrossfade(waveform, faded, context.report);
  if (cuts) endBehindLoop(waveform, frames, loop, context);
  return faded.frames > 0 || cuts;
}

std::size_t notFinite(const LoopFrames& frames) {
  return static_cast<std::size_t>(std::count_if(frames.interleaved.begin(), frames.interleaved.end(),
                                                [](float sample) { return !std::isfinite(sample); }));
}

/// What is no finite number is silent afterwards.
void reportFilter(const Waveform& waveform, double cutoff, std::size_t silenced, ConversionReport& report) {
  fixup::reportSamples(report, waveform, u"high-pass below F0", u"", fromUtf8(fmt::format("{:.1f} Hz", cutoff)));
  if (silenced == 0) return;
  const Text samples = fromUtf8(fmt::format("{}", silenced));
  report.approximated(waveform.name, u"samples that are no finite numbers", samples, u"silent");
}

void takeFrames(Waveform& waveform, LoopFrames&& frames) {
  waveform.samples = makeResident(std::move(frames.interleaved), static_cast<int>(frames.channels));
}

/// False when the loop stays as it is.
bool snap(Marker& loop, std::span<const ZeroCrossing> crossings, const Waveform& waveform, ConversionReport& report) {
  const auto start = nearestCrossing(crossings, loop.start);
  const auto end = start ? nearestCrossing(crossings, loop.end, start->rising) : std::nullopt;
  if (!end || end->position <= start->position) return false;
  const double from = start->position, to = end->position;
  if (from == loop.start && to == loop.end) return false;
  report.approximated(waveform.name, u"loop", rangeOf(loop.start, loop.end), rangeOf(from, to));
  loop.start = from;
  loop.end = to;
  return true;
}

RegionsToLoop regionsToLoop(const OptionValues& values) {
  return static_cast<RegionsToLoop>(values.choice(u"regions"));
}

/// Why no loop is looked for; empty when one is.
TextView reasonToPass(const Waveform& waveform, const OptionValues& values, const OperationContext& context) {
  if (values.flag(u"skip-looped") && isLooped(waveform, context)) return u"there is one";
  if (!wouldBeHeard(regionsToLoop(values), context)) return u"none: just drums and one-shots play it";
  return {};
}

}  // namespace

uint32_t maximumCrossfade(const Waveform& waveform) {
  const Marker* loop = mainLoop(waveform);
  return loop && fixup::isActiveLoop(*loop) ? maximumCrossfade(wholeStart(*loop), wholeEnd(*loop)) : 0;
}

Outcome runFindLoop(Item& copy, const OptionValues& values, const OperationContext& context) {
  Waveform& waveform = waveformIn(copy);
  const TextView reason = reasonToPass(waveform, values, context);
  if (!reason.empty()) return noLoop(waveform, reason, context);
  context.host.showStatus(u"Finding loop for: \"" + waveform.name + u"\"");
  PartHost reading(context.host, 0, 0.1), searching(context.host, 0.1, 1);
  auto frames = readLoopFrames(waveform, reading);
  if (!frames) return Outcome::failed;
  const std::size_t silenced = notFinite(*frames);
  const LoopFinding found = findLoop(frames->interleaved, frames->channels, waveform.sampleRate, finderOptions(values),
                                     [&](double fraction) { return searching.progress(fraction); });
  if (found.stopped) return fail(u"Cancelled"), Outcome::failed;
  if (!found.loop) return noLoop(waveform, u"none was found", context);
  reportCandidates(waveform, found, static_cast<std::size_t>(values.integer(u"take")), context.report);
  setMainLoop(waveform, *found.loop, values.flag(u"until-release"));
  playFoundLoop(waveform, regionsToLoop(values), context);
  if (found.cutoff > 0) reportFilter(waveform, found.cutoff, silenced, context.report);
  if (finishLoop(waveform, *frames, values, context) || found.cutoff > 0) takeFrames(waveform, std::move(*frames));
  return Outcome::changed;
}

Outcome runCrossfadeLoop(Item& copy, const OptionValues& values, const OperationContext& context) {
  const double length = values.number(u"length");
  if (context.items > 1 && length > 0)
    return fail(u"The crossfade length of several waveforms is always the whole loop"), Outcome::failed;
  Waveform& waveform = waveformIn(copy);
  const Marker* loop = mainLoop(waveform);
  if (!loop || !fixup::isActiveLoop(*loop)) return noLoop(waveform, u"there is none", context);
  LoopCrossfade fade{wholeStart(*loop), wholeEnd(*loop), 0, values.flag(u"reverse"), values.flag(u"exponential")};
  const uint32_t most = maximumCrossfade(waveform);
  if (context.items == 1 && most > 0 && length > most) {
    constexpr const char* text =
        "The maximum crossfade length is {} wavesamples (minimum of the loop length and the number of wavesamples "
        "before the loop start point";
    return fail(fromUtf8(fmt::format(text, most))), Outcome::failed;
  }
  fade.length = static_cast<uint32_t>(length);
  auto frames = readLoopFrames(waveform, context.host);
  if (!frames) return Outcome::failed;
  const Crossfaded faded = crossfadeLoop(frames->interleaved, frames->channels, fade);
  if (faded.frames == 0) return noLoop(waveform, u"nothing stands before it that could be faded in", context);
  reportCrossfade(waveform, faded, context.report);
  reportOtherLoops(waveform, context);
  takeFrames(waveform, std::move(*frames));
  return Outcome::changed;
}

Outcome runSnapLoops(Item& copy, const OptionValues&, const OperationContext& context) {
  Waveform& waveform = waveformIn(copy);
  auto& markers = waveform.markers;
  if (std::none_of(markers.begin(), markers.end(), fixup::isActiveLoop))
    return noLoop(waveform, u"there is none", context);
  auto frames = readLoopFrames(waveform, context.host);
  if (!frames) return Outcome::failed;
  const auto mono = monoCopy(frames->interleaved, frames->channels);
  const auto crossings = zeroCrossings(mono, 0, mono.size());
  bool changed = false;
  for (Marker& loop : markers) {
    if (!context.host.progress(1)) return fail(u"Cancelled"), Outcome::failed;
    if (fixup::isActiveLoop(loop)) changed = snap(loop, crossings, waveform, context.report) || changed;
  }
  return changed ? Outcome::changed : noLoop(waveform, u"no better place was found", context);
}

}  // namespace tervo
