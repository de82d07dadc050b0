#include "platform/system_error.h"

#include "platform/file.h"

namespace tervo::platform {
namespace {

thread_local int lastCode = 0;

}  // namespace

void noteSystemError(int code) noexcept {
  lastCode = code;
}
Text systemErrorCause() {
  return lastCode == 0 ? Text() : systemErrorText(lastCode);
}

Failure failBySystem(TextView message) {
  noteSystemError();
  return fail(message);
}

Failure failBySystem(TextView message, int code) {
  noteSystemError(code);
  return fail(message);
}

}  // namespace tervo::platform
