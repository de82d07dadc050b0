#include "platform/windows/wide.h"

#include "platform/path.h"

namespace tervo::platform {
namespace {

constexpr std::size_t longPath = 248;

}  // namespace

std::wstring nativePath(TextView path) {
  const Text whole = absolute(path);
  if (whole.size() < longPath || whole.starts_with(u"\\\\?\\") || whole.starts_with(u"\\\\.\\")) return toWide(whole);
  if (whole.starts_with(u"\\\\")) return L"\\\\?\\UNC" + toWide(whole).substr(1);
  return L"\\\\?\\" + toWide(whole);
}

Text environment(const wchar_t* name) {
  std::wstring value(GetEnvironmentVariableW(name, nullptr, 0), L'\0');
  if (value.empty()) return {};
  value.resize(GetEnvironmentVariableW(name, value.data(), static_cast<DWORD>(value.size())));
  return fromWide(value);
}

}  // namespace tervo::platform
