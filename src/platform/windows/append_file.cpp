#include "platform/file.h"
#include "platform/system_error.h"
#include "platform/windows/handle.h"
#include "platform/windows/wide.h"

namespace tervo::platform {

bool appendToFile(TextView path, std::string_view bytes) {
  const Handle file(
      CreateFileW(nativePath(path).c_str(), FILE_APPEND_DATA, shareAll, nullptr, OPEN_ALWAYS, 0, nullptr));
  if (!file) return failBySystem(u"Could not open file");
  DWORD done = 0;
  const bool written = WriteFile(file.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &done, nullptr);
  return (written && done == bytes.size()) || failBySystem(u"Writing to file failed");
}

}  // namespace tervo::platform
