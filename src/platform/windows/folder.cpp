#include "platform/file.h"
#include "platform/path.h"
#include "platform/system_error.h"
#include "platform/windows/wide.h"

namespace tervo::platform {

std::optional<std::vector<Text>> listFolder(TextView folder) {
  std::vector<Text> names;
  WIN32_FIND_DATAW entry{};
  const HANDLE search = FindFirstFileW(nativePath(join(folder, u"*")).c_str(), &entry);
  if (search == INVALID_HANDLE_VALUE) return failBySystem(u"Could not read folder");
  do {
    const std::wstring_view name = entry.cFileName;
    if (name != L"." && name != L"..") names.push_back(fromWide(name));
  } while (FindNextFileW(search, &entry));
  FindClose(search);
  return names;
}

}  // namespace tervo::platform
