#pragma once
// When files were last written.

#include <chrono>
#include <cstdint>
#include <optional>

#include "base/text.h"

namespace tervo::platform {

/// Only for comparing, as its unit is the system's. 0 when there is no such file.
int64_t modificationTime(TextView path);
/// By the system's clock. Nothing when there is no such file.
std::optional<std::chrono::system_clock::time_point> writtenAt(TextView path);

}  // namespace tervo::platform
