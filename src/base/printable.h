#pragma once
// Text as a terminal may show it.

#include <string>

#include "base/text.h"

namespace tervo {

/// Text from the user or out of a file for one line of a terminal: control characters as escapes, since names may hold
/// line ends and worse. The bytes of a path stay as they are.
std::string printable(TextView text);

}  // namespace tervo
