#include "tools/operation.h"

#include "tools/loop/loop_operations.h"
#include "tools/song/song_operations.h"
#include "tools/wave/wave_operations.h"

namespace tervo {
namespace {

// clang-format off
constexpr Operation operations[] = {
    // name                 title                    kind            options            run                  text
    {u"transpose",          u"Transpose",            ItemKind::song, transposeOptions,  runTranspose,        u"moves the notes of a song up or down"},
    {u"trim",               u"Trim",                 ItemKind::song, trimOptions,       runTrim,             u"keeps the part of a song between two times"},
    {u"change-tick-rate",   u"Change tick rate",     ItemKind::song, tickRateOptions,   runChangeTickRate,   u"gives a song other ticks and keeps its times"},
    {u"change-midi-format", u"Change MIDI format",   ItemKind::song, midiFormatOptions, runChangeMidiFormat, u"puts a song into one track, or into a track a channel"},
    {u"remove-events",      u"Remove events",        ItemKind::song, removeOptions,     runRemoveEvents,     u"removes kinds of events from a song"},
    {u"compact",            u"Compact",              ItemKind::song, compactOptions,    runCompact,          u"makes a song shorter without changing what is heard"},

    {u"gain",               u"Gain",                 ItemKind::waveform, gainOptions,      runGain,      u"makes a waveform louder or softer"},
    {u"normalise",          u"Normalise",            ItemKind::waveform, normaliseOptions, runNormalise, u"gives the highest peak of a waveform a level"},
    {u"reverse",            u"Reverse",              ItemKind::waveform, {},               runReverse,   u"turns a waveform round, with its loops and markers"},

    {u"find-loop",          u"Auto loop finder",     ItemKind::waveform, findLoopOptions,      runFindLoop,      u"finds loop points automatically"},
    {u"crossfade-loop",     u"Cross-fade loop",      ItemKind::waveform, crossfadeLoopOptions, runCrossfadeLoop, u"smooths the seam of the default loop"},
    {u"snap-loops",         u"Move the loop points to the nearest zero-crossing",
                                                     ItemKind::waveform, {},                   runSnapLoops,     u"moves loop points to the nearest zero crossings of one direction"},
};
// clang-format on

constexpr bool optionFits(const OptionInfo& option) {
  const bool isNumber = option.type == integer || option.type == number || option.type == flag;
  if (isNumber) return option.choices.empty() && option.usual >= option.lowest && option.usual <= option.highest;
  const std::size_t count = option.choices.size();
  return count > 0 && count <= 32 && option.usual < (option.type == choice ? static_cast<double>(count) : 4294967296.0);
}

constexpr bool tableFits() {
  for (const auto& operation : operations) {
    for (const auto& option : operation.options)
      if (!optionFits(option)) return false;
  }
  return true;
}
static_assert(tableFits());

}  // namespace

std::span<const Operation> Operations() {
  return operations;
}

const Operation* findOperation(TextView name) {
  for (const auto& operation : operations)
    if (operation.name == name) return &operation;
  return nullptr;
}

}  // namespace tervo
