#include "platform/system_error.h"

#include "platform/file.h"

namespace tervo::platform {
namespace {

thread_local int lastCode = 0;
thread_local Text lastPlace;  ///< empty: the file that the operation was about

}  // namespace

void noteSystemError(int code) noexcept {
  lastCode = code;
  lastPlace.clear();
}
int notedSystemError() noexcept {
  return lastCode;
}
Text systemErrorCause() {
  if (lastCode == 0) return {};
  return lastPlace.empty() ? systemErrorText(lastCode) : lastPlace + u": " + systemErrorText(lastCode);
}

Failure failBySystem(TextView message) {
  noteSystemError();
  return fail(message);
}

Failure failBySystem(TextView message, TextView place) {
  noteSystemError();
  lastPlace = place;
  return fail(message);
}

Failure failBySystem(TextView message, int code) {
  noteSystemError(code);
  return fail(message);
}

}  // namespace tervo::platform
