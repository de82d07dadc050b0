#include "platform/local_time.h"

#include <ctime>

namespace tervo::platform {

ClockTime localTime(std::chrono::system_clock::time_point when) {
  const std::time_t time = std::chrono::system_clock::to_time_t(when);
  std::tm local{};
  localtime_r(&time, &local);
  return {local.tm_hour, local.tm_min, local.tm_sec, local.tm_year + 1900, local.tm_mon + 1, local.tm_mday};
}

}  // namespace tervo::platform
