#pragma once
// The lists behind the list editors of the ParameterTable, and values as the user reads them.

#include <span>

#include "base/text.h"
#include "core/parameter_table.h"

namespace tervo {

/// The texts of an editor's list in the order of their values; empty for editors without one. The LFO shapes end before
/// the largest value that the row admits; larger ones are kept for formats with more shapes.
std::span<const TextView> choicesOf(EditorKind editor);

/// "Auto", then the stored sample formats by SampleFormat: the number of a choice is the format's plus 1.
std::span<const TextView> sampleFormatChoices();

/// The name that middle C (key 60) has: a user preference.
enum class MiddleC { c4, c3 };

/// "C4", "F#-1".
Text keyName(int key, MiddleC middleC = MiddleC::c4);

/// "Non-exclusive", "Self exclusive" or "Alternate Gr.%d": what the rows keyExclusionGroup and noteExclusionMode say
/// together.
Text exclusionText(int group, int noteExclusionMode);

/// A row's value as shown: "8000 Hz", "+50 %", "C4", "Low-Pass 12 dB/oct". Empty for rows that hold no number.
Text valueText(ParameterId row, double value, MiddleC middleC = MiddleC::c4);

}  // namespace tervo
