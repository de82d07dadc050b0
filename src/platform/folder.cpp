#include "base/last_error.h"
#include "platform/file.h"

namespace tervo::platform {

std::vector<Text> namesIn(TextView folder) {
  const SilentFailures silent;
  return listFolder(folder).value_or(std::vector<Text>());
}

}  // namespace tervo::platform
