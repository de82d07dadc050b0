#pragma once
// Inside platform/: keeps what the operating system said about a failure for systemErrorCause().

#include "base/last_error.h"
#include "base/text.h"

namespace tervo::platform {

/// The system's text for its error number `code`.
Text systemErrorText(int code);

/// Keeps the thread's current error number (errno, GetLastError()).
void noteSystemError() noexcept;
/// Keeps this error number; 0 when the system has nothing to say.
void noteSystemError(int code) noexcept;

/// What was noted last in this thread, for another thread to say.
int notedSystemError() noexcept;

/// Notes the current error number and fails with `message`.
Failure failBySystem(TextView message);
/// The same for a file that the user has not named: the cause says where it is.
Failure failBySystem(TextView message, TextView place);
/// Fails with `message` because of the error `code`.
Failure failBySystem(TextView message, int code);

}  // namespace tervo::platform
