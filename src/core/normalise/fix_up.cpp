#include "core/normalise/fix_up.h"

#include "base/last_error.h"
#include "core/normalise/steps.h"

namespace tervo {
namespace {

using namespace fixup;

bool sortInstrumentList(Pass& pass) {
  return sortInstruments(pass.loaded), true;
}
bool sortWaveformList(Pass& pass) {
  return sortWaveforms(pass.loaded), true;
}

struct Step {
  uint8_t Settings::Load::*option;  ///< null: always
  bool (*run)(Pass& pass);
};

// The order keeps one step from making work for one before it:
// - loops are unrolled before frames are appended behind their ends;
// - both before channels are merged, as two channels may have become equally long, and before duplicates are sought, as
//   the waveforms of the other collection have had the same done to them;
// - merged channels leave fewer regions in the way of one layer;
// - one layer may share more rows than several;
// - names and places last, when it is settled which items stay.
// clang-format off
constexpr Step steps[] = {
    {nullptr,                                repairItems},
    {&Settings::Load::autoSplitStereo,       splitStereo},
    {&Settings::Load::autoBid2Fwd,           unrollLoops},
    {&Settings::Load::autoAppend32,          appendFrames},
    {&Settings::Load::autoMergeStereo,       mergeStereo},
    {&Settings::Load::autoRemoveDupWaves,    removeDuplicates},
    {&Settings::Load::autoCompactLayers,     compactLayers},
    {&Settings::Load::autoMoveArticulation,  moveArticulationUp},
    {&Settings::Load::autoMoveTriggerParams, moveTriggerUp},
    {&Settings::Load::ensureUniqueNames,     makeNamesUnique},
    {&Settings::Load::autoSortColl,          sortInstrumentList},
    {&Settings::Load::autoSortWaves,         sortWaveformList},
};
// clang-format on

bool isOn(const Step& step, const Settings::Load& options) {
  // Splitting and merging would undo each other. Merging is on unless turned off, splitting has been asked for.
  if (step.run == mergeStereo && options.autoSplitStereo) return false;
  return !step.option || options.*step.option;
}

}  // namespace

bool FixUpItems(Collection& loaded, const Collection* mergedInto, const Settings& settings, Host& host,
                ConversionReport& report) {
  host.showStatus(u"Fixing up items...");
  Pass pass{loaded, mergedInto, host, report};
  double done = 0;
  for (const Step& step : steps) {
    if (!host.progress(done++ / std::size(steps))) return fail(u"Open aborted!");
    if (isOn(step, settings.load) && !step.run(pass)) return fail(u"Open aborted!");
  }
  return true;
}

void RepairUsers(const Collection& collection, const std::unordered_set<ItemId>& replaced, ConversionReport& report) {
  forEachRegion(collection, [&](Region& region) {
    if (replaced.contains(region.waveform)) repairRegion(report, region);
  });
}

void SortItems(Collection& collection, const Settings& settings) {
  if (settings.load.autoSortColl) sortInstruments(collection);
  if (settings.load.autoSortWaves) sortWaveforms(collection);
}

}  // namespace tervo
