#include "platform/current_folder.h"

#include "platform/windows/wide.h"

namespace tervo::platform {

Text currentFolder() {
  std::wstring path(GetCurrentDirectoryW(0, nullptr), L'\0');
  if (path.empty()) return {};
  path.resize(GetCurrentDirectoryW(static_cast<DWORD>(path.size()), path.data()));
  return fromWide(path);
}

bool setCurrentFolder(TextView path) {
  return SetCurrentDirectoryW(toWide(path).c_str()) != 0;
}

}  // namespace tervo::platform
