#pragma once
// The rows of the table of operations that work on waveforms: their options, and the operations. Each gets a copy of a
// waveform that has frames, and moves loops and markers with the frames. Frames are read only where the operation has
// to know them before it begins; the changed ones are made while somebody reads them.

#include "tools/operation.h"

namespace tervo {

using enum OptionType;

inline constexpr TextView unitChoices[] = {u"seconds", u"frames", u"percent"};
inline constexpr TextView curveChoices[] = {u"linear", u"equal-power", u"s-curve", u"exponential", u"logarithmic"};
inline constexpr TextView sideChoices[] = {u"both", u"start", u"end"};
inline constexpr TextView channelChoices[] = {u"stereo", u"mono", u"left", u"right", u"difference", u"swapped"};
inline constexpr TextView phaseChoices[] = {u"all", u"left", u"right"};
inline constexpr TextView tuneChoices[] = {u"fine-tune", u"resampling"};
inline constexpr TextView ditherChoices[] = {u"none", u"rectangular", u"triangular", u"shaped"};

// clang-format off
inline constexpr OptionInfo gainOptions[] = {
    // name         title               type     lowest highest usual choices            text
    {u"by",         u"Gain",            number,  -96,   96,     0,    {},                u"how much louder, or (below 0) softer, in dB"},
};
inline constexpr OptionInfo normaliseOptions[] = {
    {u"to",         u"Peak level",      number,  -96,   24,     0,    {},                u"the peak's level, in dB of full scale"},
};
inline constexpr OptionInfo loudnessOptions[] = {
    {u"to",         u"Loudness",        number,  -70,   0,      -23,  {},                u"the loudness, in LUFS"},
    {u"peak",       u"Highest peak",    number,  -96,   24,     -1,   {},                u"the true peak that is not exceeded, in dB of full scale"},
};
inline constexpr OptionInfo fadeOptions[] = {
    {u"length",     u"Length",          number,  0,     1e9,    1,    {},                u"how long the fade is"},
    {u"unit",       u"Unit",            choice,  0,     0,      0,    unitChoices,       u"what the length counts"},
    {u"curve",      u"Curve",           choice,  0,     0,      0,    curveChoices,      u"how the level goes from one end to the other"},
};
inline constexpr OptionInfo trimSilenceOptions[] = {
    {u"below",      u"Silence is below", number, -144,  0,      -60,  {},                u"what is not louder counts as silence, in dB of full scale"},
    {u"keep",       u"Keep",            number,  0,     1e6,    0,    {},                u"seconds of silence that stay at each end"},
    {u"side",       u"Where",           choice,  0,     0,      0,    sideChoices,       u"the ends that are trimmed"},
};
inline constexpr OptionInfo sectionOptions[] = {
    {u"start",      u"Start",           number,  0,     1e12,   0,    {},                u"where the section begins"},
    {u"end",        u"End",             number,  -1,    1e12,   -1,   {},                u"where it ends; -1: with the waveform"},
    {u"unit",       u"Unit",            choice,  0,     0,      0,    unitChoices,       u"what start and end count"},
    {u"marker",     u"Marker",          integer, 0,     65535,  0,    {},                u"the section is the marker or loop of this number, from 1; 0: none"},
};
inline constexpr OptionInfo resampleOptions[] = {
    {u"to",         u"Sample rate",     number,  1,     768000, 44100, {},               u"the new rate, in Hz"},
};
inline constexpr OptionInfo channelOptions[] = {
    {u"to",         u"Channels",        choice,  0,     0,      0,    channelChoices,    u"mono is the mean of both, difference half of left minus right"},
};
inline constexpr OptionInfo invertOptions[] = {
    {u"channel",    u"Channel",         choice,  0,     0,      0,    phaseChoices,      u"the channel of stereo that is inverted"},
};
inline constexpr OptionInfo reduceBitsOptions[] = {
    {u"bits",       u"Bits",            integer, 1,     24,     16,   {},                u"bits per sample"},
    {u"dither",     u"Dither",          choice,  0,     0,      2,    ditherChoices,     u"noise that takes the place of distortion"},
};
inline constexpr OptionInfo rootKeyOptions[] = {
    {u"fine-tune",  u"Fine tune",       flag,    0,     1,      1,    {},                u"also what the pitch is beside the key; off: the tuning stays"},
};
inline constexpr OptionInfo tuneOptions[] = {
    {u"by",         u"Tune by",         choice,  0,     0,      0,    tuneChoices,       u"the tuning, up to a semitone, or other frames, up to four octaves"},
};
inline constexpr OptionInfo appendOptions[] = {
    {u"frames",     u"Frames",          integer, 1,     65536,  32,   {},                u"how many are to follow the loop that ends last"},
};
// clang-format on

Outcome runGain(Item& copy, const OptionValues& values, const OperationContext& context);
Outcome runNormalise(Item& copy, const OptionValues& values, const OperationContext& context);
Outcome runNormaliseLoudness(Item& copy, const OptionValues& values, const OperationContext& context);
Outcome runRemoveDcOffset(Item& copy, const OptionValues& values, const OperationContext& context);
Outcome runFadeIn(Item& copy, const OptionValues& values, const OperationContext& context);
Outcome runFadeOut(Item& copy, const OptionValues& values, const OperationContext& context);
Outcome runReverse(Item& copy, const OptionValues& values, const OperationContext& context);
Outcome runInvertPhase(Item& copy, const OptionValues& values, const OperationContext& context);
Outcome runTrimSilence(Item& copy, const OptionValues& values, const OperationContext& context);
Outcome runCrop(Item& copy, const OptionValues& values, const OperationContext& context);
Outcome runCut(Item& copy, const OptionValues& values, const OperationContext& context);
Outcome runResample(Item& copy, const OptionValues& values, const OperationContext& context);
Outcome runChangeChannels(Item& copy, const OptionValues& values, const OperationContext& context);
Outcome runReduceBits(Item& copy, const OptionValues& values, const OperationContext& context);
Outcome runDetectRootKey(Item& copy, const OptionValues& values, const OperationContext& context);
Outcome runTuneToRoot(Item& copy, const OptionValues& values, const OperationContext& context);
Outcome runConvertLoops(Item& copy, const OptionValues& values, const OperationContext& context);
Outcome runAppendAfterLoop(Item& copy, const OptionValues& values, const OperationContext& context);

}  // namespace tervo
