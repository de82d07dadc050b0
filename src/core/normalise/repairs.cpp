// The repairs that are always made.

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "core/levels.h"
#include "core/normalise/steps.h"
#include "core/parameter_table.h"

namespace tervo::fixup {
namespace {

Text rangeText(const Marker& marker) {
  return fromUtf8(fmt::format("{} to {}", marker.start, marker.end));
}

/// Some files have loops that end behind the sound, or none of whose frames are there.
void repairLoop(ConversionReport& report, const Waveform& waveform, Marker& loop) {
  const auto frames = static_cast<double>(waveform.frames());
  const bool fits = loop.start >= 0 && loop.end <= frames && loop.start < loop.end;
  if (fits) return;
  const Text before = rangeText(loop);
  if (!(loop.start >= 0)) loop.start = 0;
  if (!(loop.end <= frames)) loop.end = frames;
  const bool anyLeft = loop.start < loop.end;
  if (!anyLeft) {
    loop.loopType = LoopType::off;
    loop.start = std::min(loop.start, frames);
    loop.end = loop.start + 1;
  }
  report.approximated(waveform.name, u"loop", before, anyLeft ? rangeText(loop) : Text(u"off"));
}

void repairRootKey(Region& region, const Waveform& waveform) {
  constexpr float none = 255;
  const auto override = region.trigger.get(ParameterId::rootKeyOverride);
  if (!override) return;
  if (*override == none || rootKeyOf(region) == waveform.rootKey) region.trigger.erase(ParameterId::rootKeyOverride);
}

/// The marker that a selector names, counted from 1; null when it names none.
const Marker* named(const Waveform& waveform, float selector) {
  if (!(selector >= 1) || selector > static_cast<float>(waveform.markers.size())) return nullptr;
  return &waveform.markers[static_cast<std::size_t>(selector) - 1];
}

/// Takes back to its default a selector that names no marker that it could mean.
void resetSelector(ConversionReport& report, Region& region, const Waveform& waveform, ParameterId row,
                   TextView meaning) {
  const Text before = fromUtf8(fmt::format("marker {}", region.trigger.get(row).value_or(0)));
  region.trigger.erase(row);
  report.approximated(waveform.name, rowOf(row).name, before, meaning);
}

void repairPlaySection(ConversionReport& report, Region& region, const Waveform& waveform) {
  const auto selector = region.trigger.get(ParameterId::playSection);
  if (!selector || *selector == 0) return;
  const Marker* marker = named(waveform, *selector);
  // Where the samples are missing, their length is not known.
  const bool reaches = marker && (!waveform.samples || marker->start < static_cast<double>(waveform.frames()));
  if (!reaches) resetSelector(report, region, waveform, ParameterId::playSection, u"whole waveform");
}

void repairLoopSection(ConversionReport& report, Region& region, const Waveform& waveform) {
  constexpr float ownLoop = -1, noLoop = 0;
  const auto selector = region.trigger.get(ParameterId::loopSection);
  if (!selector || *selector == ownLoop || *selector == noLoop) return;
  const Marker* marker = named(waveform, *selector);
  if (!marker || marker->type != MarkerType::loop)
    resetSelector(report, region, waveform, ParameterId::loopSection, u"the waveform's own loop");
}

}  // namespace

void repairRegion(ConversionReport& report, Region& region) {
  const Waveform* waveform = findItem<Waveform>(region.waveform);
  if (!waveform) return;
  repairRootKey(region, *waveform);
  repairPlaySection(report, region, *waveform);
  repairLoopSection(report, region, *waveform);
}

bool repairItems(Pass& pass) {
  for (const auto& waveform : pass.loaded.waveforms()) {
    if (!waveform->holdsData()) continue;
    for (Marker& marker : waveform->markers) {
      if (isActiveLoop(marker)) repairLoop(pass.report, *waveform, marker);
    }
  }
  forEachRegion(pass.loaded, [&pass](Region& region) { repairRegion(pass.report, region); });
  return true;
}

}  // namespace tervo::fixup
