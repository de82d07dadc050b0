#include "formats/instrument/sf2_marker_losses.h"

#include <algorithm>
#include <cmath>
#include <set>
#include <unordered_map>

#include "core/levels.h"
#include "formats/instrument/sf2_region.h"
#include "formats/loss_tally.h"

namespace tervo::sf2 {
namespace {

/// What regions play of a waveform's markers.
struct MarkerUse {
  std::set<std::size_t> selected;  ///< counted from 1
  bool playsMainLoop = false;
  bool loopsAlways = false, loopsUntilRelease = false;
};
using MarkerUses = std::unordered_map<ItemId, MarkerUse>;

/// A loop that a record says all of, as most waveforms have it, or nothing at all.
bool losesNothing(const Waveform& waveform) {
  if (waveform.markers.empty()) return true;
  const Marker& first = waveform.markers.front();
  const Marker plain{.type = MarkerType::loop,
                     .start = std::round(first.start),
                     .end = std::round(first.end),
                     .loopType = LoopType::forward};
  return waveform.markers.size() == 1 && first == plain;
}

void collect(const Region& region, MarkerUse& use) {
  const float loop = effectiveValue(region, ParameterId::loopSection);
  for (const float number : {effectiveValue(region, ParameterId::playSection), loop})
    if (number >= 1) use.selected.insert(static_cast<std::size_t>(number));
  const auto played = playedLoop(region);
  if (!played) return;
  if (loop < 0) use.playsMainLoop = true;
  (played->loopCount == loopUntilRelease ? use.loopsUntilRelease : use.loopsAlways) = true;
}

MarkerUses usesIn(const std::vector<const Waveform*>& waveforms, const std::vector<const Instrument*>& instruments) {
  MarkerUses uses;
  for (const Waveform* waveform : waveforms)
    if (!losesNothing(*waveform)) uses[waveform->id()];
  if (uses.empty()) return uses;
  for (const Instrument* instrument : instruments) {
    for (const auto& layer : instrument->layers())
      for (const auto& region : layer->regions())
        if (const auto use = uses.find(region->waveform); use != uses.end()) collect(*region, use->second);
  }
  return uses;
}

/// The loop that stands in the sample's record, where no zone says how it plays.
void noteUnplayedLoop(const Marker& loop, const MarkerUse& use, LossTally& losses) {
  noteLoopLosses(loop, losses);
  const bool endsAtRelease = use.loopsUntilRelease && !use.loopsAlways;
  if (loop.loopCount == loopUntilRelease && !endsAtRelease)
    losses.approximated(u"loop count", u"until release", u"infinite");
}

}  // namespace

void noteMarkerLosses(const std::vector<const Waveform*>& waveforms, const std::vector<const Instrument*>& instruments,
                      ConversionReport& report) {
  static constexpr TextView plurals[] = {u"markers", u"sections", u"loops"};  // by type
  static constexpr TextView noPlace = u"the file has no place for them";
  const MarkerUses uses = usesIn(waveforms, instruments);
  for (const Waveform* waveform : waveforms) {
    const auto use = uses.find(waveform->id());
    if (use == uses.end()) continue;
    const Marker* main = mainLoop(*waveform);
    LossTally losses;
    for (std::size_t i = 0; i < waveform->markers.size(); ++i) {
      const Marker& marker = waveform->markers[i];
      const bool isSelected = use->second.selected.contains(i + 1);
      if (&marker == main && !isSelected && !use->second.playsMainLoop) noteUnplayedLoop(marker, use->second, losses);
      if (&marker != main && !isSelected)
        losses.dropped(plurals[static_cast<std::size_t>(marker.type)], noPlace);
      else if (!marker.name.empty())
        losses.dropped(u"names of markers", noPlace);
    }
    losses.reportTo(report, waveform->name);
  }
}

}  // namespace tervo::sf2
