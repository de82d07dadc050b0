#include "core/normalise/sample_views.h"
#include "tools/wave/wave_edit.h"
#include "tools/wave/wave_operations.h"

namespace tervo {
namespace {

/// A position has no length of its own: it is the frame that it stands at.
double lengthOf(const Marker& marker) {
  return marker.type == MarkerType::position ? 1 : marker.length();
}

/// A position that regions play from becomes a section up to it for them: what stood behind it now comes first.
void turnSections(Waveform& waveform, Selectors& selectors) {
  for (auto& [number, now] : selectors.sections) {
    if (number > waveform.markers.size() || waveform.markers[number - 1].type != MarkerType::position) continue;
    const Marker position = waveform.markers[number - 1];
    waveform.markers.push_back({.type = MarkerType::section, .name = position.name, .end = position.start + 1});
    now = waveform.markers.size();
  }
}

}  // namespace

Outcome runReverse(Item& copy, const OptionValues&, const OperationContext& context) {
  Waveform& waveform = waveformIn(copy);
  const auto frames = static_cast<double>(waveform.frames());
  for (Marker& marker : waveform.markers) {
    const double end = marker.end - marker.start;
    marker.start = std::max(frames - marker.start - lengthOf(marker), 0.0);
    marker.end = marker.start + end;
  }
  if (context.selectors) turnSections(waveform, *context.selectors);
  fixup::reportSamples(context.report, waveform, u"frames", u"forwards", u"backwards");
  waveform.samples = fixup::joined({{waveform.samples, 0, waveform.frames(), fixup::Direction::backwards}});
  return Outcome::changed;
}

}  // namespace tervo
