// Operations that take frames away.

#include <algorithm>
#include <cmath>

#include "base/last_error.h"
#include "dsp/frame_kernels.h"
#include "tools/wave/sample_scan.h"
#include "tools/wave/sections.h"
#include "tools/wave/wave_edit.h"
#include "tools/wave/wave_operations.h"

namespace tervo {
namespace {

constexpr double withTheWaveform = -1;  // of the option "end"

Stretch within(const Waveform& waveform, int64_t start, int64_t end) {
  return {std::clamp<int64_t>(start, 0, waveform.frames()), std::clamp<int64_t>(end, 0, waveform.frames())};
}

/// A section that one waveform alone does not have is a mistake; of several some may lack it.
Outcome noSection(const Waveform& waveform, TextView why, const OperationContext& context) {
  if (context.items > 1) return leftAlone(waveform, u"section", why, context.report);
  return fail(Text(u"\"").append(waveform.name).append(u"\" has no such section: ").append(why)), Outcome::failed;
}

/// The frames of the marker that the options name, else those between start and end. Empty when they hold none.
Stretch chosenStretch(const Waveform& waveform, const OptionValues& values) {
  if (const auto number = static_cast<std::size_t>(values.integer(u"marker")); number > 0) {
    if (number > waveform.markers.size()) return {};
    const Marker& marker = waveform.markers[number - 1];
    const bool reachesTheEnd = marker.type == MarkerType::position;
    return within(waveform, std::llround(marker.start), reachesTheEnd ? waveform.frames() : std::llround(marker.end));
  }
  const double end = values.number(u"end");
  return within(waveform, framesOf(values.number(u"start"), values, waveform),
                end == withTheWaveform ? waveform.frames() : framesOf(end, values, waveform));
}

/// Why the section is none; empty where it holds frames.
TextView missing(Stretch section, const Waveform& waveform, const OptionValues& values) {
  const auto number = static_cast<std::size_t>(values.integer(u"marker"));
  const double end = values.number(u"end");
  if (section.frames() > 0) return {};
  if (number > 0) return number > waveform.markers.size() ? u"there is no such marker" : u"the marker holds no frames";
  if (end != withTheWaveform && end <= values.number(u"start")) return u"it ends before it begins";
  return u"it begins behind the end";
}

bool isWhole(Stretch stretch, const Waveform& waveform) {
  return stretch.start == 0 && stretch.end == waveform.frames();
}

/// What is louder than a threshold: from the first such frame to the last one. Nothing when reading fails.
std::optional<Stretch> loudStretch(const Waveform& waveform, float threshold, Host& host) {
  Stretch loud{waveform.frames(), 0};
  const bool read = scan(waveform.samples, host, [&](std::span<const float> frames, int64_t first) {
    if (dsp::peakOf(frames) <= threshold) return true;
    const auto isLoud = [threshold](float sample) { return std::isfinite(sample) && std::abs(sample) > threshold; };
    const auto from = std::find_if(frames.begin(), frames.end(), isLoud) - frames.begin();
    const auto to = frames.rend() - std::find_if(frames.rbegin(), frames.rend(), isLoud);
    loud.start = std::min(loud.start, first + from / waveform.channels());
    loud.end = first + (to + waveform.channels() - 1) / waveform.channels();
    return true;
  });
  if (!read) return std::nullopt;
  return loud;
}

/// Widens a stretch to hold the loops that are played.
Stretch withLoops(Stretch stretch, const Waveform& waveform) {
  for (const Marker& marker : waveform.markers) {
    if (!fixup::isActiveLoop(marker)) continue;
    stretch.start = std::min(stretch.start, static_cast<int64_t>(std::floor(marker.start)));
    stretch.end = std::max(stretch.end, static_cast<int64_t>(std::ceil(marker.end)));
  }
  return within(waveform, stretch.start, stretch.end);
}

}  // namespace

Outcome runCrop(Item& copy, const OptionValues& values, const OperationContext& context) {
  Waveform& waveform = waveformIn(copy);
  const Stretch kept = chosenStretch(waveform, values);
  if (const TextView why = missing(kept, waveform, values); !why.empty()) return noSection(waveform, why, context);
  if (isWhole(kept, waveform)) return leftAlone(waveform, u"section", u"it is the whole waveform", context.report);
  keepOnly(waveform, {kept}, context);
  return Outcome::changed;
}

Outcome runCut(Item& copy, const OptionValues& values, const OperationContext& context) {
  Waveform& waveform = waveformIn(copy);
  const Stretch gone = chosenStretch(waveform, values);
  if (const TextView why = missing(gone, waveform, values); !why.empty()) return noSection(waveform, why, context);
  if (isWhole(gone, waveform)) return fail(u"No frames would be left of \"" + waveform.name + u"\""), Outcome::failed;
  keepOnly(waveform, {{0, gone.start}, {gone.end, waveform.frames()}}, context);
  return Outcome::changed;
}

Outcome runTrimSilence(Item& copy, const OptionValues& values, const OperationContext& context) {
  Waveform& waveform = waveformIn(copy);
  const auto threshold = static_cast<float>(factorOf(values.number(u"below")));
  const auto loud = loudStretch(waveform, threshold, context.host);
  if (!loud) return Outcome::failed;
  if (loud->frames() <= 0) return leftAlone(waveform, u"silence", u"it is all that there is", context.report);
  const int64_t margin = std::llround(values.number(u"keep") * waveform.sampleRate);
  Stretch kept = withLoops({loud->start - margin, loud->end + margin}, waveform);
  enum class Side { both, start, end };
  const auto side = static_cast<Side>(values.choice(u"side"));
  if (side == Side::start) kept.end = waveform.frames();
  if (side == Side::end) kept.start = 0;
  if (isWhole(kept, waveform)) return leftAlone(waveform, u"silence", u"there is none to take away", context.report);
  keepOnly(waveform, {kept}, context);
  return Outcome::changed;
}

}  // namespace tervo
