#include <fcntl.h>

#include "platform/file.h"
#include "platform/posix/file_descriptor.h"
#include "platform/system_error.h"

namespace tervo::platform {

bool appendToFile(TextView path, std::string_view bytes) {
  const FileDescriptor file(open(toPathBytes(path).c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666));
  if (!file) return failBySystem(u"Could not open file");
  const ssize_t done = write(file.get(), bytes.data(), bytes.size());
  return done == static_cast<ssize_t>(bytes.size()) || failBySystem(u"Writing to file failed");
}

}  // namespace tervo::platform
