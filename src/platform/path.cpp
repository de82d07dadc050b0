#include "platform/path.h"

namespace tervo::platform {
namespace {

std::size_t nameStart(TextView path) {
  const std::size_t last = path.find_last_of(pathSeparators());
  return last == TextView::npos ? 0 : last + 1;
}

bool isSeparator(char16_t c) {
  return pathSeparators().find(c) != TextView::npos;
}

/// A separator that belongs to the folder's own name: the root's, or the colon of a drive.
bool endsFolderName(TextView folder) {
  const char16_t last = folder.back();
  if (last == u':') return true;
  return folder.size() == 1 || folder[folder.size() - 2] == u':';
}

}  // namespace

TextView fileNameOf(TextView path) {
  return path.substr(nameStart(path));
}

TextView extensionOf(TextView path) {
  const TextView name = fileNameOf(path);
  const std::size_t dot = name.rfind(u'.');
  return dot == TextView::npos ? name : name.substr(dot + 1);
}

TextView stemOf(TextView path) {
  const TextView name = fileNameOf(path);
  return name.substr(0, name.rfind(u'.'));
}

Text folderOf(TextView path) {
  TextView folder = path.substr(0, nameStart(path));
  if (folder.empty()) return u".";
  while (!endsFolderName(folder) && isSeparator(folder.back())) folder.remove_suffix(1);
  return Text(folder);
}

Text join(TextView folder, TextView name) {
  if (folder.empty()) return Text(name);
  Text path(folder);
  if (!isSeparator(path.back())) path.push_back(preferredSeparator());
  return path.append(name);
}

}  // namespace tervo::platform
