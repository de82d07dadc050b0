// Operations on loops that the load-time normalisation offers too.

#include <fmt/format.h>

#include <algorithm>
#include <map>

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

/// The loop that most regions play, the waveform's own where none plays it. Those that play another one, or none, hear
/// the frames that are put in for it.
fixup::LoopIndex loopToKeep(const Waveform& waveform, const OperationContext& context) {
  const fixup::LoopIndex own = fixup::mainLoopOf(waveform);
  if (!context.selectors || context.selectors->regions.empty()) return own;
  std::map<fixup::LoopIndex, std::size_t> users;
  for (const Region* region : context.selectors->regions) ++users[fixup::playedLoopOf(*region, waveform)];
  fixup::LoopIndex best = own;
  for (const auto& [loop, count] : users)
    if (count > users[best]) best = loop;
  if (const std::size_t others = context.selectors->regions.size() - users[best]; others > 0 && best != fixup::noLoop)
    context.report.approximated(waveform.name, fromUtf8(fmt::format("regions that play otherwise: {}", others)),
                                u"as it was", u"with the frames that the converted loops take");
  return best;
}

}  // namespace

Outcome runConvertLoops(Item& copy, const OptionValues&, const OperationContext& context) {
  Waveform& waveform = waveformIn(copy);
  const auto& markers = waveform.markers;
  if (std::none_of(markers.begin(), markers.end(), fixup::needsUnrolling))
    return leftAlone(waveform, u"loop types", u"there is none to convert", context.report);
  const fixup::LoopIndex kept = loopToKeep(waveform, context);
  if (context.selectors) keepSections(waveform, *context.selectors);
  fixup::makeLoopsForward(waveform, kept, context.report);
  return Outcome::changed;
}

Outcome runAppendAfterLoop(Item& copy, const OptionValues& values, const OperationContext& context) {
  Waveform& waveform = waveformIn(copy);
  const bool appended = fixup::appendBehindLoops(waveform, values.integer(u"frames"), context.report);
  return appended ? Outcome::changed
                  : leftAlone(waveform, u"frames behind the loop", u"none are to be appended", context.report);
}

}  // namespace tervo
