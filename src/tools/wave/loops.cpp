// Operations on loops that the load-time normalisation offers too.

#include <algorithm>

#include "core/normalise/loop_frames.h"
#include "tools/wave/wave_edit.h"
#include "tools/wave/wave_operations.h"

namespace tervo {
namespace {

/// Loops that regions play as sections are about to change their ranges: the regions get sections of their own.
void keepSections(Waveform& waveform, Selectors& selectors) {
  for (auto& [number, now] : selectors.sections) {
    if (number > waveform.markers.size()) continue;
    const Marker marker = waveform.markers[number - 1];
    if (fixup::needsUnrolling(marker)) now = fixup::sectionLike(waveform, marker);
  }
}

}  // namespace

Outcome runConvertLoops(Item& copy, const OptionValues&, const OperationContext& context) {
  Waveform& waveform = waveformIn(copy);
  const auto& markers = waveform.markers;
  if (std::none_of(markers.begin(), markers.end(), fixup::needsUnrolling))
    return leftAlone(waveform, u"loop types", u"there is none to convert", context.report);
  if (context.selectors) keepSections(waveform, *context.selectors);
  fixup::makeLoopsForward(waveform, fixup::mainLoopOf(waveform), context.report);
  return Outcome::changed;
}

Outcome runAppendAfterLoop(Item& copy, const OptionValues& values, const OperationContext& context) {
  Waveform& waveform = waveformIn(copy);
  const bool appended = fixup::appendBehindLoops(waveform, values.integer(u"frames"), context.report);
  return appended ? Outcome::changed
                  : leftAlone(waveform, u"frames behind the loop", u"none are to be appended", context.report);
}

}  // namespace tervo
