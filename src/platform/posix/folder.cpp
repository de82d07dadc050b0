#include <dirent.h>

#include "platform/file.h"
#include "platform/system_error.h"

namespace tervo::platform {

std::optional<std::vector<Text>> listFolder(TextView folder) {
  std::vector<Text> names;
  DIR* entries = opendir(toPathBytes(folder).c_str());
  if (!entries) return failBySystem(u"Could not read folder");
  while (const dirent* entry = readdir(entries)) {
    const std::string_view name = entry->d_name;
    if (name != "." && name != "..") names.push_back(fromPathBytes(name));
  }
  closedir(entries);
  return names;
}

}  // namespace tervo::platform
