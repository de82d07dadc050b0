#include "base/last_error.h"

#include <mutex>

namespace tervo {
namespace {

std::mutex mutex;
Text& lastError() {
  static Text text;
  return text;
}

}  // namespace

Text LastErrorText() {
  const std::lock_guard lock(mutex);
  return lastError();
}

void setLastErrorText(TextView text) {
  const std::lock_guard lock(mutex);
  lastError() = text;
}

Failure fail(TextView text) {
  setLastErrorText(text);
  return {};
}

}  // namespace tervo
