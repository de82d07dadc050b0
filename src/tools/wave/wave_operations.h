#pragma once
// The rows of the table of operations that work on waveforms: their options, and the operations. Each gets a copy of a
// waveform that has frames, and moves loops and markers with the frames. Frames are read only where the operation has
// to know them before it begins; the changed ones are made while somebody reads them.

#include "tools/operation.h"

namespace tervo {

using enum OptionType;

// clang-format off
inline constexpr OptionInfo gainOptions[] = {
    // name         title               type     lowest highest usual choices            text
    {u"by",         u"Gain",            number,  -96,   96,     0,    {},                u"how much louder, or (below 0) softer, in dB"},
};
inline constexpr OptionInfo normaliseOptions[] = {
    {u"to",         u"Peak level",      number,  -96,   24,     0,    {},                u"the peak's level, in dB of full scale"},
};
// clang-format on

Outcome runGain(Item& copy, const OptionValues& values, const OperationContext& context);
Outcome runNormalise(Item& copy, const OptionValues& values, const OperationContext& context);
Outcome runReverse(Item& copy, const OptionValues& values, const OperationContext& context);

}  // namespace tervo
