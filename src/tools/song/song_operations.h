#pragma once
// The rows of the table of operations that work on songs: their options, and the functions that turn values of the
// options into calls.

#include "tools/operation.h"

namespace tervo {

using enum OptionType;

inline constexpr TextView outOfRangeChoices[] = {u"octaves", u"remove"};
inline constexpr TextView timeUnitChoices[] = {u"seconds", u"quarters", u"ticks"};
inline constexpr TextView frameChoices[] = {u"none", u"24", u"25", u"29.97", u"30"};
inline constexpr TextView formatChoices[] = {u"0", u"1"};
inline constexpr TextView eventChoices[] = {
    u"notes",     u"key-pressure", u"controllers", u"programs",   u"channel-pressure", u"pitch-bend",
    u"exclusive", u"texts",        u"tempo",       u"signatures", u"other-meta"};

// clang-format off
inline constexpr OptionInfo transposeOptions[] = {
    // name         title               type     lowest highest usual choices            text
    {u"semitones",  u"Semitones",       integer, -127,  127,    0,    {},                u"how far, up or (below 0) down"},
    {u"only",       u"Channel",         integer, 0,     16,     0,    {},                u"the channel, 0 for all"},
    {u"drums",      u"Drums too",       flag,    0,     1,      0,    {},                u"also channel 10, where keys are instruments"},
    {u"beyond",     u"Out of range",    choice,  0,     0,      0,    outOfRangeChoices, u"notes that leave the range of keys come back by octaves, or go"},
};
inline constexpr OptionInfo trimOptions[] = {
    {u"start",      u"Start",           number,  -1,    1e9,    -1,   {},                u"where the song is to begin; -1: with its first note"},
    {u"end",        u"End",             number,  -1,    1e9,    -1,   {},                u"where it is to end; -1: with its last note"},
    {u"unit",       u"Unit",            choice,  0,     0,      0,    timeUnitChoices,   u"what start and end count"},
};
inline constexpr OptionInfo tickRateOptions[] = {
    {u"ticks",      u"Ticks",           integer, 1,     32767,  480,  {},                u"ticks per quarter note, or per frame (at most 255)"},
    {u"frames",     u"Frames",          choice,  0,     0,      0,    frameChoices,      u"frames per second, where ticks are to be parts of frames"},
};
inline constexpr OptionInfo midiFormatOptions[] = {
    {u"to",         u"Format",          choice,  0,     0,      1,    formatChoices,     u"0: one track; 1: a control track and a track a channel"},
};
inline constexpr OptionInfo removeOptions[] = {
    {u"kinds",      u"Events",          choices, 0,     0,      0,    eventChoices,      u"what goes, with commas between"},
    {u"only",       u"Channel",         integer, 0,     16,     0,    {},                u"of channel messages: the channel, 0 for all"},
};
inline constexpr OptionInfo compactOptions[] = {
    {u"note-offs",    u"Shorten note-offs",   flag, 0, 1, 1, {}, u"note-offs with the usual release velocity become note-ons with velocity 0"},
    {u"repetitions",  u"Remove repetitions",  flag, 0, 1, 1, {}, u"controllers, pressure and bends that change nothing go"},
    {u"empty-tracks", u"Remove empty tracks", flag, 0, 1, 1, {}, u"tracks without events go"},
};
// clang-format on

Outcome runTranspose(Item& item, const OptionValues& values, const OperationContext& context);
Outcome runTrim(Item& item, const OptionValues& values, const OperationContext& context);
Outcome runChangeTickRate(Item& item, const OptionValues& values, const OperationContext& context);
Outcome runChangeMidiFormat(Item& item, const OptionValues& values, const OperationContext& context);
Outcome runRemoveEvents(Item& item, const OptionValues& values, const OperationContext& context);
Outcome runCompact(Item& item, const OptionValues& values, const OperationContext& context);

}  // namespace tervo
