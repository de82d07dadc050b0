#pragma once
// The operating system's part in a failure.

#include "base/text.h"

namespace tervo {

/// What the operating system said when it made the operation of LastErrorText fail ("No space left on device"), to be
/// shown beside that text; "the file ends too early" for bytes that are not there; empty when the failure is the
/// program's own. The same thread as the operation.
Text failureCause();

}  // namespace tervo
