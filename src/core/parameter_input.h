#pragma once
// What people type into a field of the ParameterTable.

#include "core/parameter_lists.h"

namespace tervo {

/// A typed value of a row, in the row's unit and brought into its range: "8k", "8000 Hz", "50 %" (a fraction of 0.5),
/// "20 ms" for seconds, "F#3" for keys, the name of a choice or the start of just one. A plain number is in the unit in
/// which the row is shown. Nothing with LastErrorText, which says what the row takes.
std::optional<double> parseValue(ParameterId row, TextView text, MiddleC middleC = MiddleC::c4);

/// What a row takes, for hints: "8 to 24000 Hz".
Text rangeText(ParameterId row, MiddleC middleC = MiddleC::c4);

}  // namespace tervo
