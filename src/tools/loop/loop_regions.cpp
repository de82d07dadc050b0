#include "tools/loop/loop_regions.h"

#include <fmt/format.h>

#include <algorithm>

#include "core/levels.h"
#include "tools/wave/wave_edit.h"

namespace tervo {
namespace {

using Regions = std::vector<const Region*>;

const Regions& regionsOf(const OperationContext& context) {
  static const Regions none;
  return context.selectors ? context.selectors->regions : none;
}

bool asksForOwnLoop(const Region& region) {
  return effectiveValue(region, ParameterId::loopSection) < 0;
}

bool soundsAfterRelease(const Region& region) {
  const Instrument* instrument = containingInstrument(region.id());
  return (instrument && instrument->drum) || effectiveValue(region, ParameterId::vEnvReleaseMode) != 0;
}

bool isToLoop(const Region& region, RegionsToLoop chosen) {
  return chosen == RegionsToLoop::all || playedLoop(region) || !soundsAfterRelease(region);
}

void report(const Waveform& waveform, std::size_t regions, TextView from, TextView to, ConversionReport& report) {
  if (regions == 0) return;
  const Text what = fromUtf8(fmt::format("loop of {} region{}", regions, regions == 1 ? "" : "s"));
  report.add({waveform.name, what, ReportKind::kept, Text(from), Text(to)});
}

}  // namespace

bool isLooped(const Waveform& waveform, const OperationContext& context) {
  const Marker* own = mainLoop(waveform);
  if (own && fixup::isActiveLoop(*own)) return true;
  const Regions& regions = regionsOf(context);
  return std::any_of(regions.begin(), regions.end(), [](const Region* each) { return playedLoop(*each).has_value(); });
}

bool wouldBeHeard(RegionsToLoop chosen, const OperationContext& context) {
  const Regions& regions = regionsOf(context);
  return regions.empty() || chosen == RegionsToLoop::asTheyAre ||
         std::any_of(regions.begin(), regions.end(), [chosen](const Region* each) { return isToLoop(*each, chosen); });
}

void playFoundLoop(const Waveform& waveform, RegionsToLoop chosen, const OperationContext& context) {
  if (chosen == RegionsToLoop::asTheyAre) return reportOtherLoops(waveform, context);
  std::size_t silent = 0, others = 0, kept = 0;
  for (const Region* region : regionsOf(context)) {
    const bool loops = isToLoop(*region, chosen), asksForIt = asksForOwnLoop(*region);
    if (loops != asksForIt) context.selectors->loopRows[region] = loops ? LoopRow::own : LoopRow::none;
    if (loops && !asksForIt) ++(playedLoop(*region) ? others : silent);
    if (!loops) ++kept;
  }
  report(waveform, silent, u"none", u"the one that was found", context.report);
  report(waveform, others, u"another one", u"the one that was found", context.report);
  report(waveform, kept, u"", u"none, as before: drums and one-shots", context.report);
}

void reportOtherLoops(const Waveform& waveform, const OperationContext& context) {
  std::size_t silent = 0, others = 0;
  for (const Region* region : regionsOf(context)) {
    if (!asksForOwnLoop(*region)) ++(playedLoop(*region) ? others : silent);
  }
  report(waveform, silent, u"", u"none, as before", context.report);
  report(waveform, others, u"", u"another one; its seam is as it was", context.report);
}

}  // namespace tervo
