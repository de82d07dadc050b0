#pragma once
// Text as the Windows interface takes it. wchar_t is a UTF-16 unit there, so nothing is converted.

#include <windows.h>

#include <string>

#include "base/text.h"

namespace tervo::platform {

static_assert(sizeof(wchar_t) == sizeof(char16_t));

inline std::wstring toWide(TextView text) {
  return std::wstring(text.begin(), text.end());
}
inline Text fromWide(std::wstring_view text) {
  return Text(text.begin(), text.end());
}

/// The path as file functions take it: from 248 characters on (the limit for folders; files have 260) in the form
/// "\\?\C:\..." that has no limit.
std::wstring nativePath(TextView path);

/// The text of an environment variable, empty when it is not set.
Text environment(const wchar_t* name);

}  // namespace tervo::platform
