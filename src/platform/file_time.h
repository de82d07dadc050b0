#pragma once
// When files were last written.

#include <cstdint>

#include "base/text.h"

namespace tervo::platform {

/// Only for comparing, as its unit is the system's. 0 when there is no such file.
int64_t modificationTime(TextView path);

}  // namespace tervo::platform
