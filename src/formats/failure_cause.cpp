#include "formats/failure_cause.h"

#include "base/last_error.h"
#include "platform/file.h"

namespace tervo {

Text failureCause() {
  const Text text = LastErrorText();
  // Other failures may come long after the system's last one.
  const bool bySystem =
      text == u"Could not open file" || text == u"Reading from file failed" || text == u"Writing to file failed";
  return bySystem ? platform::systemErrorCause() : Text();
}

}  // namespace tervo
