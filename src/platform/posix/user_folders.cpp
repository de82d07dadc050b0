#include "platform/user_folders.h"

#include <pwd.h>
#include <unistd.h>

#include <array>
#include <cstdlib>

#include "platform/path.h"

namespace tervo::platform {
namespace {

Text environment(const char* name) {
  const char* value = std::getenv(name);
  return value ? fromPathBytes(value) : Text();
}

Text homeFolder() {
  if (Text home = environment("HOME"); !home.empty()) return home;
  std::array<char, 4096> buffer{};
  passwd entry{};
  passwd* found = nullptr;
  if (getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &found) == 0 && found)
    return fromPathBytes(found->pw_dir);
  return u"/";
}

/// XDG Base Directory Specification 0.8: a value that is not absolute is to be ignored.
Text xdgFolder(const char* variable, TextView belowHome) {
  if (Text folder = environment(variable); folder.starts_with(u'/')) return folder;
  return join(homeFolder(), belowHome);
}

}  // namespace

Text configFolder() {
  return xdgFolder("XDG_CONFIG_HOME", u".config");
}
Text dataFolder() {
  return xdgFolder("XDG_DATA_HOME", u".local/share");
}
Text systemFolder() {
  return {};
}

Text temporaryFolder() {
  if (Text folder = environment("TMPDIR"); folder.starts_with(u'/')) return folder;
  return access("/var/tmp", W_OK) == 0 ? u"/var/tmp" : u"/tmp";
}

Text generalMidiBank() {
  return u"/usr/share/sounds/sf2/default-GM.sf2";
}

}  // namespace tervo::platform
