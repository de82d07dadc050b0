#pragma once
// Numbers as they are shown in reports.

#include "base/text.h"

namespace tervo {

/// The shortest decimal form: "44100", "0.5".
Text numberText(double value);

}  // namespace tervo
