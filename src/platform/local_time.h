#pragma once
// The clock and the calendar on the user's wall.

#include <chrono>

namespace tervo::platform {

struct ClockTime {
  int hours = 0;    ///< 0..23
  int minutes = 0;  ///< 0..59
  int seconds = 0;  ///< 0..60
  int year = 0;     ///< as it is written: 2026
  int month = 0;    ///< 1..12
  int day = 0;      ///< 1..31
};

ClockTime localTime(std::chrono::system_clock::time_point when);

}  // namespace tervo::platform
