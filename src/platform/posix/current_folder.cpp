#include "platform/current_folder.h"

#include <unistd.h>

#include <cstdlib>
#include <memory>

namespace tervo::platform {

Text currentFolder() {
  const std::unique_ptr<char, decltype(&std::free)> path(getcwd(nullptr, 0), &std::free);
  return path ? fromPathBytes(path.get()) : Text();
}

bool setCurrentFolder(TextView path) {
  return chdir(toPathBytes(path).c_str()) == 0;
}

}  // namespace tervo::platform
