#pragma once
// The clock on the user's wall.

#include <chrono>

namespace tervo::platform {

struct ClockTime {
  int hours = 0;    ///< 0..23
  int minutes = 0;  ///< 0..59
  int seconds = 0;  ///< 0..60
};

ClockTime localTime(std::chrono::system_clock::time_point when);

}  // namespace tervo::platform
