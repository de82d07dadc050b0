// The Windows side of writing: a temporary file beside the target that the system deletes when the process ends,
// however it ends, until it is renamed over the target.

#include <algorithm>
#include <cstring>
#include <vector>

#include "platform/path.h"
#include "platform/system_error.h"
#include "platform/unbuffered_file.h"
#include "platform/windows/handle.h"
#include "platform/windows/wide.h"

namespace tervo::platform {
namespace {

constexpr TextView couldNotOpen = u"Could not open file";
constexpr TextView writingFailed = u"Writing to file failed";
constexpr TextView existsAlready = u"File exists already";

// Windows 10, version 1709; older header sets lack the names.
constexpr auto renameInfoEx = static_cast<FILE_INFO_BY_HANDLE_CLASS>(22);
constexpr DWORD renameReplaces = 0x1, renamePosix = 0x2;

bool deleteOnClose(HANDLE file, bool wanted) {
  FILE_DISPOSITION_INFO disposition{};
  disposition.DeleteFile = wanted;
  return SetFileInformationByHandle(file, FileDispositionInfo, &disposition, sizeof disposition) != 0;
}

/// Renames the open file; `flags` as FILE_RENAME_INFO has them for `how`.
bool renameOpen(HANDLE file, const std::wstring& target, FILE_INFO_BY_HANDLE_CLASS how, DWORD flags) {
  const std::size_t bytes = target.size() * sizeof(wchar_t);
  std::vector<std::byte> buffer(sizeof(FILE_RENAME_INFO) + bytes);
  auto& info = *reinterpret_cast<FILE_RENAME_INFO*>(buffer.data());
  std::memcpy(&info, &flags, sizeof flags);
  info.FileNameLength = static_cast<DWORD>(bytes);
  std::memcpy(info.FileName, target.data(), bytes);
  return SetFileInformationByHandle(file, how, buffer.data(), static_cast<DWORD>(buffer.size())) != 0;
}

bool isTaken(DWORD error) {
  return error == ERROR_ALREADY_EXISTS || error == ERROR_FILE_EXISTS;
}

class WindowsOutput final : public UnbufferedFile {
 public:
  WindowsOutput(Handle file, Text folder, std::wstring target, Replace replace)
      : file_(std::move(file)), folder_(std::move(folder)), target_(std::move(target)), replace_(replace) {}

  bool writeAt(uint64_t offset, std::span<const std::byte> bytes) override;
  uint64_t copyFrom(const ByteSource&, uint64_t, uint64_t, uint64_t) override { return 0; }
  bool putInPlace() override;

 private:
  bool takeName();
  bool swapWithOld();

  Handle file_;
  Text folder_;
  std::wstring target_;
  Replace replace_;
};

bool WindowsOutput::writeAt(uint64_t offset, std::span<const std::byte> bytes) {
  while (!bytes.empty()) {
    OVERLAPPED position = atOffset(offset);
    DWORD done = 0;
    const auto count = static_cast<DWORD>(std::min<std::size_t>(bytes.size(), 1u << 30));
    if (!WriteFile(file_.get(), bytes.data(), count, &done, &position) || done == 0) return failBySystem(writingFailed);
    bytes = bytes.subspan(done);
    offset += done;
  }
  return true;
}

bool WindowsOutput::putInPlace() {
  if (!FlushFileBuffers(file_.get()) || !deleteOnClose(file_.get(), false)) return failBySystem(writingFailed);
  if (takeName()) return true;
  const DWORD error = GetLastError();
  deleteOnClose(file_.get(), true);
  return failBySystem(isTaken(error) ? existsAlready : writingFailed, static_cast<int>(error));
}

bool WindowsOutput::takeName() {
  if (replace_ == Replace::never) return renameOpen(file_.get(), target_, FileRenameInfo, 0);
  return renameOpen(file_.get(), target_, renameInfoEx, renameReplaces | renamePosix) ||
         renameOpen(file_.get(), target_, FileRenameInfo, renameReplaces) || swapWithOld();
}

/// Where a file that is open for reading cannot be replaced it can still be renamed: it goes under another name until
/// its readers are done.
bool WindowsOutput::swapWithOld() {
  const std::wstring aside = nativePath(join(folder_, temporaryName()));
  if (!MoveFileExW(target_.c_str(), aside.c_str(), 0)) return false;
  if (!renameOpen(file_.get(), target_, FileRenameInfo, 0)) {
    const DWORD error = GetLastError();
    MoveFileExW(aside.c_str(), target_.c_str(), 0);
    SetLastError(error);
    return false;
  }
  DeleteFileW(aside.c_str());
  return true;
}

/// The file that the path leads to, behind symbolic links; the path itself where there is none.
Text realPath(TextView path) {
  const Handle file(
      CreateFileW(nativePath(path).c_str(), FILE_READ_ATTRIBUTES, shareAll, nullptr, OPEN_EXISTING, 0, nullptr));
  std::wstring real(file ? GetFinalPathNameByHandleW(file.get(), nullptr, 0, 0) : 0, L'\0');
  if (real.empty()) return absolute(path);
  real.resize(GetFinalPathNameByHandleW(file.get(), real.data(), static_cast<DWORD>(real.size()), 0));
  return fromWide(real);
}

}  // namespace

std::unique_ptr<UnbufferedFile> createUnbuffered(TextView target, Replace replace) {
  const DWORD attributes = GetFileAttributesW(nativePath(target).c_str());
  const bool exists = attributes != INVALID_FILE_ATTRIBUTES;
  if (exists && (attributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_READONLY)))
    return failBySystem(couldNotOpen, ERROR_ACCESS_DENIED);
  if (exists && replace == Replace::never) return failBySystem(existsAlready, ERROR_FILE_EXISTS);

  const Text real = exists && (attributes & FILE_ATTRIBUTE_REPARSE_POINT) ? realPath(target) : absolute(target);
  Text folder = folderOf(real);
  Handle file(CreateFileW(nativePath(join(folder, temporaryName())).c_str(), GENERIC_READ | GENERIC_WRITE | DELETE,
                          FILE_SHARE_DELETE, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file || !deleteOnClose(file.get(), true)) return failBySystem(couldNotOpen);
  return std::make_unique<WindowsOutput>(std::move(file), std::move(folder), nativePath(real), replace);
}

}  // namespace tervo::platform
