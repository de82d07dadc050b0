#include "base/last_error.h"

#include <mutex>

namespace tervo {
namespace {

thread_local int silent = 0;

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

SilentFailures::SilentFailures() {
  ++silent;
}
SilentFailures::~SilentFailures() {
  --silent;
}

void setLastErrorText(TextView text) {
  if (silent > 0) return;
  const std::lock_guard lock(mutex);
  lastError() = text;
}

Failure fail(TextView text) {
  setLastErrorText(text);
  return {};
}

}  // namespace tervo
