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

Stretch within(const Waveform& waveform, int64_t start, int64_t end) {
  return {std::clamp<int64_t>(start, 0, waveform.frames()), std::clamp<int64_t>(end, 0, waveform.frames())};
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
                end < 0 ? waveform.frames() : framesOf(end, values, waveform));
}

bool isWhole(Stretch stretch, const Waveform& waveform) {
  return stretch.start == 0 && stretch.end == waveform.frames();
}

/// What is louder than a threshold: from the first such frame to the last one. Nothing when reading fails.
std::optional<Stretch> loudStretch(const Waveform& waveform, float threshold, Host& host) {
  Stretch loud{waveform.frames(), 0};
  const bool read = scan(*waveform.samples, host, [&](std::span<const float> frames, int64_t first) {
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
  if (kept.frames() <= 0 || isWhole(kept, waveform)) return Outcome::nothingToDo;
  keepOnly(waveform, {kept}, context);
  return Outcome::changed;
}

Outcome runCut(Item& copy, const OptionValues& values, const OperationContext& context) {
  Waveform& waveform = waveformIn(copy);
  const Stretch gone = chosenStretch(waveform, values);
  if (gone.frames() <= 0) return Outcome::nothingToDo;
  if (isWhole(gone, waveform)) return fail(u"No frames would be left of \"" + waveform.name + u"\""), Outcome::failed;
  keepOnly(waveform, {{0, gone.start}, {gone.end, waveform.frames()}}, context);
  return Outcome::changed;
}

Outcome runTrimSilence(Item& copy, const OptionValues& values, const OperationContext& context) {
  Waveform& waveform = waveformIn(copy);
  const auto threshold = static_cast<float>(factorOf(values.number(u"below")));
  const auto loud = loudStretch(waveform, threshold, context.host);
  if (!loud) return Outcome::failed;
  if (loud->frames() <= 0) return Outcome::nothingToDo;
  const int64_t margin = std::llround(values.number(u"keep") * waveform.sampleRate);
  Stretch kept = withLoops({loud->start - margin, loud->end + margin}, waveform);
  enum class Side { both, start, end };
  const auto side = static_cast<Side>(values.choice(u"side"));
  if (side == Side::start) kept.end = waveform.frames();
  if (side == Side::end) kept.start = 0;
  if (isWhole(kept, waveform)) return Outcome::nothingToDo;
  keepOnly(waveform, {kept}, context);
  return Outcome::changed;
}

}  // namespace tervo
