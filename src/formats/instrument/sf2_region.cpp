#include "formats/instrument/sf2_region.h"

#include <algorithm>
#include <cmath>

#include "core/levels.h"
#include "formats/number_text.h"

namespace tervo::sf2 {
namespace {

using P = ParameterId;

constexpr int coarseFrames = 32768;
// Bounds the work on a file in which every zone has its own.
constexpr std::size_t mostMarkers = 1000;

struct OffsetGens {
  Gen fine, coarse;
};
constexpr OffsetGens startOffset = {Gen::startOffset, Gen::startOffsetCoarse};
constexpr OffsetGens endOffset = {Gen::endOffset, Gen::endOffsetCoarse};
constexpr OffsetGens loopStartOffset = {Gen::loopStartOffset, Gen::loopStartOffsetCoarse};
constexpr OffsetGens loopEndOffset = {Gen::loopEndOffset, Gen::loopEndOffsetCoarse};

double offsetOf(const ZoneValues& values, OffsetGens gens) {
  return values[gens.fine] + double{coarseFrames} * values[gens.coarse];
}

void setOffset(ZoneValues& values, OffsetGens gens, double frames) {
  const auto whole = static_cast<int64_t>(std::round(frames));
  const int64_t coarse = std::clamp<int64_t>(whole / coarseFrames, -32768, 32767);
  values[gens.coarse] = static_cast<int16_t>(coarse);
  values[gens.fine] = static_cast<int16_t>(std::clamp<int64_t>(whole - coarse * coarseFrames, -32768, 32767));
}

/// The number of a marker like this one, which is added where there is none yet; 0 when there are too many.
float markerNumber(Waveform& waveform, const Marker& wanted) {
  auto& markers = waveform.markers;
  auto found = std::find(markers.begin(), markers.end(), wanted);
  if (found == markers.end()) {
    if (markers.size() >= mostMarkers) return 0;
    found = markers.insert(found, wanted);
  }
  return static_cast<float>(found - markers.begin() + 1);
}

void setPlayedSection(Region& region, Waveform& waveform, const ZoneValues& values, LossTally& losses) {
  const double before = offsetOf(values, startOffset), behind = offsetOf(values, endOffset);
  if (before == 0 && behind == 0) return;
  const auto frames = static_cast<double>(waveform.frames());
  const double start = std::clamp(before, 0.0, frames), end = std::clamp(frames + behind, 0.0, frames);
  if (start != before || end != frames + behind)
    losses.dropped(u"frames before or behind a sample", u"they belong to other samples");
  if (!(start < end)) return losses.dropped(u"offsets of a sample", u"they leave no frame to play");
  if (start == 0 && end == frames) return;
  const Marker section{.type = MarkerType::section, .start = start, .end = end};
  region.trigger.set(P::playSection, markerNumber(waveform, section));
}

/// The waveform's own loop, moved as the zone says and repeated as it says.
std::optional<Marker> zoneLoop(const Waveform& waveform, const ZoneValues& values, LossTally& losses) {
  const Marker* main = mainLoop(waveform);
  if (!main) return losses.dropped(u"loop of a zone", u"its sample has no loop"), std::nullopt;
  Marker loop = *main;
  const auto frames = static_cast<double>(waveform.frames());
  loop.start = std::clamp(loop.start + offsetOf(values, loopStartOffset), 0.0, frames);
  loop.end = std::clamp(loop.end + offsetOf(values, loopEndOffset), 0.0, frames);
  loop.loopCount = values[Gen::sampleModes] == loopsUntilRelease ? loopUntilRelease : loopForever;
  if (loop.start < loop.end) return loop;
  losses.dropped(u"loop of a zone", u"it holds no frame of the sample");
  return std::nullopt;
}

void setLoop(Region& region, Waveform& waveform, const ZoneValues& values, LossTally& losses) {
  constexpr float noLoop = 0;
  const bool loops = values[Gen::sampleModes] == loopsAlways || values[Gen::sampleModes] == loopsUntilRelease;
  const auto loop = loops ? zoneLoop(waveform, values, losses) : std::nullopt;
  if (!loop) {
    // Nothing to say about a waveform that has no loop to begin with.
    if (mainLoop(waveform)) region.trigger.set(P::loopSection, noLoop);
    return;
  }
  if (const Marker* main = mainLoop(waveform); main && *main == *loop) return;
  const float number = markerNumber(waveform, *loop);
  if (number == 0) losses.dropped(u"loop of a zone", u"its sample has too many loops");
  region.trigger.set(P::loopSection, number);
}

}  // namespace

void setPlayback(Region& region, Waveform& waveform, const ZoneValues& values, LossTally& losses) {
  const int16_t key = values[Gen::rootKey];
  if (key >= 0 && key <= 127) region.trigger.set(P::rootKeyOverride, key);
  if (!waveform.samples) return;
  setPlayedSection(region, waveform, values, losses);
  setLoop(region, waveform, values, losses);
}

void setPlaybackValues(ZoneValues& values, const Region& region, const Waveform& written, LossTally& losses) {
  if (const auto key = region.trigger.get(P::rootKeyOverride); key && *key >= 0 && *key <= 127)
    values[Gen::rootKey] = static_cast<int16_t>(*key);
  const Waveform* waveform = findItem<Waveform>(region.waveform);
  const double ratio = waveform ? written.sampleRate / waveform->sampleRate : 1;
  const FrameRange played = playedFrames(region);
  if (waveform && played.start != 0) setOffset(values, startOffset, played.start * ratio);
  const double behind = waveform ? played.end - static_cast<double>(waveform->frames()) : 0;
  if (behind != 0) setOffset(values, endOffset, behind * ratio);
  const auto loop = playedLoop(region);
  if (!loop) return;
  noteLoopLosses(*loop, losses);
  values[Gen::sampleModes] = loop->loopCount == loopUntilRelease ? loopsUntilRelease : loopsAlways;
  const FrameLoop main = recordLoop(written);
  setOffset(values, loopStartOffset, std::round(loop->start * ratio) - main.start);
  setOffset(values, loopEndOffset, std::round(loop->end * ratio) - main.end);
}

void noteLoopLosses(const Marker& loop, LossTally& losses) {
  if (loop.loopType != LoopType::forward)
    losses.approximated(u"loop type", nameOf(loop.loopType), nameOf(LoopType::forward));
  if (loop.loopCount != loopForever && loop.loopCount != loopUntilRelease)
    losses.approximated(u"loop count", numberText(loop.loopCount), u"infinite");
  if (loop.loopPitch != 0) losses.dropped(u"pitch while the loop plays", u"the file has no place for it");
  if (loop.start != std::round(loop.start) || loop.end != std::round(loop.end))
    losses.approximated(u"loop points", u"fractions", u"whole frames");
}

FrameLoop recordLoop(const Waveform& waveform) {
  const Marker* loop = mainLoop(waveform);
  if (!loop) return {};
  const auto frame = [&](double position) {
    return static_cast<uint32_t>(std::clamp(std::round(position), 0.0, static_cast<double>(waveform.frames())));
  };
  return {frame(loop->start), frame(loop->end)};
}

}  // namespace tervo::sf2
