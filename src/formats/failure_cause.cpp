#include "formats/failure_cause.h"

#include "base/last_error.h"
#include "platform/file.h"

namespace tervo {

Text failureCause() {
  const Text text = LastErrorText();
  const Text said = platform::systemErrorCause();
  // Other failures may come long after the system's last one.
  for (const TextView bySystem : {u"Could not open file", u"Reading from file failed", u"Writing to file failed",
                                  u"Could not create folder", u"Could not store the settings"})
    if (text == bySystem && !said.empty()) return said;
  return text == u"Reading from file failed" ? u"the file ends too early" : u"";
}

}  // namespace tervo
