#include "platform/program.h"

#include "platform/path.h"
#include "platform/system_error.h"
#include "platform/windows/wide.h"
// Needs windows.h before it.
#include <shellapi.h>

#include <algorithm>
#include <atomic>
#include <bit>
#include <memory>

namespace tervo::platform {
namespace {

std::atomic<bool> cancelled{false};

bool isConsole(HANDLE stream) {
  DWORD mode = 0;
  return GetConsoleMode(stream, &mode) != 0;
}

bool writeBytes(HANDLE stream, std::string_view bytes) {
  while (!bytes.empty()) {
    DWORD done = 0;
    const auto count = static_cast<DWORD>(std::min<std::size_t>(bytes.size(), 1u << 30));
    if (!WriteFile(stream, bytes.data(), count, &done, nullptr) || done == 0) return noteSystemError(), false;
    bytes.remove_prefix(done);
  }
  return true;
}

bool writeCharacters(HANDLE console, std::wstring_view text) {
  while (!text.empty()) {
    DWORD done = 0;
    // Consoles before Windows 8 take at most 64 KiB at a time.
    const auto count = static_cast<DWORD>(std::min<std::size_t>(text.size(), 8192));
    if (!WriteConsoleW(console, text.data(), count, &done, nullptr) || done == 0) return false;
    text.remove_prefix(done);
  }
  return true;
}

bool writeTo(DWORD which, std::string_view utf8) {
  const HANDLE stream = GetStdHandle(which);
  return isConsole(stream) ? writeCharacters(stream, toWide(fromUtf8(utf8))) : writeBytes(stream, utf8);
}

/// Returning FALSE leaves the matter to the system, which ends the process; temporary files are deleted by then.
BOOL WINAPI onControl(DWORD event) {
  const bool isKey = event == CTRL_C_EVENT || event == CTRL_BREAK_EVENT;
  return isKey && !cancelled.exchange(true);
}

}  // namespace

std::vector<Text> programArguments(int, char**) {
  int count = 0;
  const std::unique_ptr<wchar_t*, decltype(&LocalFree)> all(CommandLineToArgvW(GetCommandLineW(), &count), &LocalFree);
  std::vector<Text> arguments;
  for (int i = 1; all && i < count; ++i) arguments.push_back(fromWide(all.get()[i]));
  return arguments;
}

Text programFile() {
  std::wstring path(32768, L'\0');
  path.resize(GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
  return fromWide(path);
}

Text siblingProgram(TextView name) {
  return join(folderOf(programFile()), Text(name) + u".exe");
}

bool writeStandardOutput(std::string_view utf8) {
  return writeTo(STD_OUTPUT_HANDLE, utf8);
}
bool writeStandardError(std::string_view utf8) {
  return writeTo(STD_ERROR_HANDLE, utf8);
}
bool standardErrorIsTerminal() {
  return isConsole(GetStdHandle(STD_ERROR_HANDLE));
}

void installCancelHandler() {
  SetConsoleCtrlHandler(onControl, TRUE);
}
bool cancelRequested() noexcept {
  return cancelled;
}

int processorCount() {
  DWORD_PTR own = 0, all = 0;
  if (GetProcessAffinityMask(GetCurrentProcess(), &own, &all)) return std::max(std::popcount(own), 1);
  return 1;
}

}  // namespace tervo::platform
