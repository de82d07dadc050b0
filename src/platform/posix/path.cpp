#include "platform/path.h"

#include <sys/stat.h>

#include <string>

#include "platform/current_folder.h"

namespace tervo::platform {
namespace {

bool isSymbolicLink(const Text& path) {
  struct stat status {};
  return lstat(toPathBytes(path).c_str(), &status) == 0 && S_ISLNK(status.st_mode);
}

/// Goes one folder down from `path`, or up for "..".
void enter(Text& path, TextView part) {
  if (part.empty() || part == u".") return;
  if (part != u".." || (!path.empty() && (fileNameOf(path) == u".." || isSymbolicLink(path)))) {
    path.append(u"/").append(part);
  } else {
    path.resize(path.empty() ? 0 : path.rfind(u'/'));
  }
}

}  // namespace

TextView pathSeparators() {
  return u"/";
}
char16_t preferredSeparator() {
  return u'/';
}

Text absolute(TextView path) {
  const Text whole = path.starts_with(u'/') ? Text(path) : join(currentFolder(), path);
  Text result;
  for (std::size_t at = 0; at < whole.size();) {
    const std::size_t end = std::min(whole.find(u'/', at), whole.size());
    enter(result, TextView(whole).substr(at, end - at));
    at = end + 1;
  }
  return result.empty() ? u"/" : result;
}

}  // namespace tervo::platform
