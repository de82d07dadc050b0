#pragma once
// The rows of the table of operations that make and change loops.

#include "tools/loop/loop_crossfade.h"
#include "tools/loop/loop_regions.h"
#include "tools/operation.h"

namespace tervo {

using enum OptionType;

// clang-format off
inline constexpr OptionInfo findLoopOptions[] = {
    // name             title                                               type     lowest highest usual choices text
    {u"from",           u"Loop search range:",                              number,  0, 100, 10, {}, u"where loops may start, in percent of the frames"},
    {u"to",             u"..",                                              number,  0, 100, 95, {}, u"where they must have ended, in percent of the frames", false, u"%"},
    {u"shortest",       u"Minimum loop length:",                            number,  0, 100, 5,  {}, u"the shortest loop, in percent of the frames", false, u"%"},
    {u"until-release",  u"Break loop on Key-Release",                       flag,    0, 1,   0,  {}, u"the loop ends when the key is released, and what follows it is heard"},
    {u"high-pass",      u"High-pass-filter the entire wave below F0",       flag,    0, 1,   0,  {}, u"takes away what is below the fundamental"},
    {u"crossfade",      u"Crossfade the looped samples",                    flag,    0, 1,   1,  {}, u"fades the frames before the end into those before the start"},
    {u"cut",            u"Cut everything after loop end (append 32)",       flag,    0, 1,   0,  {}, u"ends the waveform 32 frames after the loop; not with until-release"},
    {u"fractional",     u"Find fractional loop start point",                flag,    0, 1,   0,  {}, u"places the start between two frames where that fits better"},
    {u"tune",           u"Set loop tuning param",                           flag,    0, 1,   0,  {}, u"makes up for a loop that is no whole number of periods"},
    {u"skip-looped",    u"Skip already looped waves (keep existing)",       flag,    0, 1,   1,  {}, u"leaves waveforms alone that have a loop"},
    {u"regions",        u"Regions play the loop",                           choice,  0, 0,   0,  regionsToLoopChoices, u"the regions that are to play what is found; without drums: not those that play no loop in drum kits or as one-shots"},
    {u"candidates",     u"Candidates",                                      integer, 1, 20,  1,  {}, u"how many different loops to look for; the report, which is then shown, lists them", true},
    {u"take",           u"Take candidate",                                  integer, 1, 20,  1,  {}, u"which of them becomes the loop, 1 being the best, the last one where there are fewer"},
    {u"check-channels", u"Check both channels",                             flag,    0, 1,   0,  {}, u"ranks candidates, at least five, by the channel where they fit worse"},
};
inline constexpr OptionInfo crossfadeLoopOptions[] = {
    {u"length",         u"Crossfade length",                                integer, 0, 4294967295.0, 0, {}, u"in frames; 0: as long as possible, which is the only choice for several waveforms"},
    {u"reverse",        u"Also reverse-crossfade any wavesamples after the loop end point (keeps interpolation algorithms happy and prevents pops).",
                                                                            flag,    0, 1,   1,  {}, u"also fades what follows the end from what follows the start"},
    {u"exponential",    u"Use exp. fading (fades linearly in 'log-space', which is how the ear perceive loudness).",
                                                                            flag,    0, 1,   0,  {}, u"fades by the logarithm, which keeps both sounds louder in the middle"},
};
// clang-format on

/// What the report's entries begin with that list the loops to choose from, the best one first.
inline constexpr TextView loopCandidate = u"loop candidate ";

/// How long the crossfade of the waveform's default loop may be; 0 where nothing would be done.
uint32_t maximumCrossfade(const Waveform& waveform);

Outcome runFindLoop(Item& copy, const OptionValues& values, const OperationContext& context);
Outcome runCrossfadeLoop(Item& copy, const OptionValues& values, const OperationContext& context);
Outcome runSnapLoops(Item& copy, const OptionValues& values, const OperationContext& context);

}  // namespace tervo
