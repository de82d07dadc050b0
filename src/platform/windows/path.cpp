#include "platform/path.h"

#include "platform/windows/wide.h"

namespace tervo::platform {

TextView pathSeparators() {
  return u"/\\:";
}
char16_t preferredSeparator() {
  return u'\\';
}

Text absolute(TextView path) {
  const std::wstring given = toWide(path);
  std::wstring result(GetFullPathNameW(given.c_str(), 0, nullptr, nullptr), L'\0');
  if (result.empty()) return Text(path);
  result.resize(GetFullPathNameW(given.c_str(), static_cast<DWORD>(result.size()), result.data(), nullptr));
  return fromWide(result);
}

}  // namespace tervo::platform
