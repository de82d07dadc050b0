#include "platform/user_folders.h"

#include <array>

#include "platform/path.h"
#include "platform/windows/wide.h"

namespace tervo::platform {

Text configFolder() {
  return environment(L"APPDATA");
}
Text dataFolder() {
  return environment(L"APPDATA");
}

Text systemFolder() {
  std::array<wchar_t, MAX_PATH> path{};
  return fromWide({path.data(), GetSystemDirectoryW(path.data(), path.size())});
}

Text temporaryFolder() {
  std::array<wchar_t, MAX_PATH + 1> path{};
  Text folder = fromWide({path.data(), GetTempPathW(path.size(), path.data())});
  if (folder.size() > 3 && folder.ends_with(u'\\')) folder.pop_back();
  return folder;
}

Text generalMidiBank() {
  return systemFolder() + u"\\drivers\\gm.dls";
}

}  // namespace tervo::platform
