#include "platform/system_error.h"

#include "platform/windows/wide.h"

namespace tervo::platform {

Text systemErrorText(int code) {
  wchar_t* buffer = nullptr;
  constexpr DWORD how = FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS;
  const DWORD length =
      FormatMessageW(how, nullptr, static_cast<DWORD>(code), 0, reinterpret_cast<wchar_t*>(&buffer), 0, nullptr);
  Text text = fromWide({buffer, length});
  LocalFree(buffer);
  while (!text.empty() && (text.back() <= u' ' || text.back() == u'.')) text.pop_back();
  return text.empty() ? u"System error " + fromUtf8(std::to_string(code)) : text;
}

void noteSystemError() noexcept {
  noteSystemError(static_cast<int>(GetLastError()));
}

}  // namespace tervo::platform
