#pragma once
// Numbers as they are shown in reports.

#include "base/text.h"

namespace tervo {

/// As a person would write it: "44100", "0.5", "39228.09". Seven digits, or two behind the point.
Text numberText(double value);

}  // namespace tervo
