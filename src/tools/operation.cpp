#include "tools/operation.h"

#include "tools/loop/loop_operations.h"
#include "tools/song/song_operations.h"
#include "tools/wave/wave_operations.h"

namespace tervo {
namespace {

constexpr ItemKind wave = ItemKind::waveform;

// clang-format off
constexpr Operation operations[] = {
    // name                 title                    kind            options            run                  text
    {u"transpose",          u"Transpose",            ItemKind::song, transposeOptions,  runTranspose,        u"moves the notes of a song up or down"},
    {u"trim",               u"Trim",                 ItemKind::song, trimOptions,       runTrim,             u"keeps the part of a song between two times"},
    {u"change-tick-rate",   u"Change tick rate",     ItemKind::song, tickRateOptions,   runChangeTickRate,   u"gives a song other ticks and keeps its times"},
    {u"change-midi-format", u"Change MIDI format",   ItemKind::song, midiFormatOptions, runChangeMidiFormat, u"puts a song into one track, or into a track a channel"},
    {u"remove-events",      u"Remove events",        ItemKind::song, removeOptions,     runRemoveEvents,     u"removes kinds of events from a song"},
    {u"compact",            u"Compact",              ItemKind::song, compactOptions,    runCompact,          u"makes a song shorter without changing what is heard"},

    {u"gain",               u"Gain",                 wave, gainOptions,        runGain,              u"makes a waveform louder or softer"},
    {u"normalise",          u"Normalise",            wave, normaliseOptions,   runNormalise,         u"gives the highest peak of a waveform a level"},
    {u"normalise-loudness", u"Normalise loudness",   wave, loudnessOptions,    runNormaliseLoudness, u"gives a waveform a loudness by EBU R 128"},
    {u"remove-dc-offset",   u"Remove DC offset",     wave, {},                 runRemoveDcOffset,    u"makes the mean of each channel 0"},
    {u"fade-in",            u"Fade in",              wave, fadeOptions,        runFadeIn,            u"lets a waveform begin with silence"},
    {u"fade-out",           u"Fade out",             wave, fadeOptions,        runFadeOut,           u"lets a waveform end with silence"},
    {u"reverse",            u"Reverse",              wave, {},                 runReverse,           u"turns a waveform round, with its loops and markers"},
    {u"invert-phase",       u"Invert phase",         wave, invertOptions,      runInvertPhase,       u"turns samples upside down"},
    {u"trim-silence",       u"Trim silence",         wave, trimSilenceOptions, runTrimSilence,       u"takes silence away at the ends of a waveform; loops stay"},
    {u"crop",               u"Crop to section",      wave, sectionOptions,     runCrop,              u"keeps a section of a waveform"},
    {u"cut",                u"Cut section",          wave, sectionOptions,     runCut,               u"takes a section out of a waveform"},
    {u"resample",           u"Resample",             wave, resampleOptions,    runResample,          u"gives a waveform another sample rate"},
    {u"change-channels",    u"Change channels",      wave, channelOptions,     runChangeChannels,    u"makes stereo of mono, mono of stereo, or swaps channels"},
    {u"reduce-bits",        u"Reduce bits",          wave, reduceBitsOptions,  runReduceBits,        u"gives samples fewer bits, with dither"},
    {u"detect-root-key",    u"Detect root key",      wave, rootKeyOptions,     runDetectRootKey,     u"sets root key and tuning by the pitch that a waveform has"},
    {u"tune-to-root",       u"Tune to root key",     wave, tuneOptions,        runTuneToRoot,        u"puts a waveform in tune with its root key"},
    {u"convert-loops",      u"Convert loop types",   wave, {},                 runConvertLoops,      u"makes alternating and reverse loops forward ones that sound the same"},
    {u"append-after-loop",  u"Append after loop",    wave, appendOptions,      runAppendAfterLoop,   u"lets what a loop goes on to play follow its end"},

    {u"find-loop",          u"Auto loop finder",     wave, findLoopOptions,      runFindLoop,      u"finds loop points automatically",
     u"Find loop points automatically:"},
    {u"crossfade-loop",     u"Cross-fade loop",      wave, crossfadeLoopOptions, runCrossfadeLoop, u"smooths the seam of the default loop",
     u"Cross-fade the default loop (i.e. fade out the wavesamples prior to the loop end point while simultaneously fading in wavesamples from just prior to the loop start point)."},
    {u"snap-loops",         u"Move the loop points to the nearest zero-crossing",
                                                     wave, {},                   runSnapLoops,     u"moves loop points to the nearest zero crossings of one direction"},
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
