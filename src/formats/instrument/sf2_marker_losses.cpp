#include "formats/instrument/sf2_marker_losses.h"

#include <algorithm>
#include <set>
#include <unordered_map>

#include "core/levels.h"
#include "formats/loss_tally.h"

namespace tervo::sf2 {
namespace {

/// Of each waveform that has more than a main loop, the markers that regions select, counted from 1.
using SelectedMarkers = std::unordered_map<ItemId, std::set<std::size_t>>;

bool isMainLoopAlone(const Waveform& waveform) {
  return waveform.markers.empty() || (waveform.markers.size() == 1 && mainLoop(waveform));
}

void collect(const Instrument& instrument, SelectedMarkers& selected) {
  for (const auto& layer : instrument.layers()) {
    for (const auto& region : layer->regions()) {
      const auto numbers = selected.find(region->waveform);
      if (numbers == selected.end()) continue;
      for (const ParameterId row : {ParameterId::playSection, ParameterId::loopSection})
        if (const float number = effectiveValue(*region, row); number >= 1)
          numbers->second.insert(static_cast<std::size_t>(number));
    }
  }
}

TextView pluralOf(MarkerType type) {
  switch (type) {
    case MarkerType::section:
      return u"sections";
    case MarkerType::loop:
      return u"loops";
    default:
      return u"markers";
  }
}

}  // namespace

void noteMarkerLosses(const std::vector<const Waveform*>& waveforms, const std::vector<const Instrument*>& instruments,
                      ConversionReport& report) {
  SelectedMarkers selected;
  for (const Waveform* waveform : waveforms)
    if (!isMainLoopAlone(*waveform)) selected[waveform->id()];
  if (selected.empty()) return;
  for (const Instrument* instrument : instruments) collect(*instrument, selected);
  for (const Waveform* waveform : waveforms) {
    const auto numbers = selected.find(waveform->id());
    if (numbers == selected.end()) continue;
    LossTally losses;
    for (std::size_t i = 0; i < waveform->markers.size(); ++i) {
      const Marker& marker = waveform->markers[i];
      if (&marker != mainLoop(*waveform) && !numbers->second.contains(i + 1))
        losses.dropped(pluralOf(marker.type), u"the file has no place for them");
    }
    losses.reportTo(report, waveform->name);
  }
}

}  // namespace tervo::sf2
