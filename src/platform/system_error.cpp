#include "platform/system_error.h"

#include "platform/file.h"

namespace tervo::platform {
namespace {

thread_local Text lastCause;

}  // namespace

void setSystemErrorCause(TextView cause) {
  lastCause = cause;
}
Text systemErrorCause() {
  return lastCause;
}

Failure failBySystem(TextView message) {
  noteSystemError();
  return fail(message);
}

Failure failBySystem(TextView message, int code) {
  setSystemErrorCause(systemErrorText(code));
  return fail(message);
}

}  // namespace tervo::platform
