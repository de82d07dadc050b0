#include "platform/file.h"

#include <cstring>

#include "platform/file_time.h"
#include "platform/path.h"
#include "platform/system_error.h"
#include "platform/windows/handle.h"
#include "platform/windows/wide.h"

namespace tervo::platform {
namespace {

std::optional<DWORD> attributesOf(TextView path) {
  const DWORD attributes = GetFileAttributesW(nativePath(path).c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES) return std::nullopt;
  return attributes;
}

}  // namespace

std::optional<FileIdentity> fileIdentity(TextView path) {
  const Handle file(CreateFileW(nativePath(path).c_str(), FILE_READ_ATTRIBUTES, shareAll, nullptr, OPEN_EXISTING,
                                FILE_FLAG_BACKUP_SEMANTICS, nullptr));
  if (!file) return std::nullopt;
  FileIdentity identity;
  FILE_ID_INFO wide{};
  if (GetFileInformationByHandleEx(file.get(), FileIdInfo, &wide, sizeof wide)) {
    identity.volume = wide.VolumeSerialNumber;
    std::memcpy(identity.file.data(), &wide.FileId, sizeof identity.file);
    return identity;
  }
  // File systems before ReFS number their files in 64 bits, and some know only this call.
  BY_HANDLE_FILE_INFORMATION narrow{};
  if (!GetFileInformationByHandle(file.get(), &narrow)) return std::nullopt;
  identity.volume = narrow.dwVolumeSerialNumber;
  identity.file[0] = (uint64_t{narrow.nFileIndexHigh} << 32) | narrow.nFileIndexLow;
  return identity;
}

int64_t modificationTime(TextView path) {
  WIN32_FILE_ATTRIBUTE_DATA data{};
  if (!GetFileAttributesExW(nativePath(path).c_str(), GetFileExInfoStandard, &data)) return 0;
  return static_cast<int64_t>((uint64_t{data.ftLastWriteTime.dwHighDateTime} << 32) |
                              data.ftLastWriteTime.dwLowDateTime);
}

std::optional<std::chrono::system_clock::time_point> writtenAt(TextView path) {
  // FILETIME counts 100 ns since 1601.
  constexpr int64_t ticksPerSecond = 10'000'000, secondsTo1970 = 11'644'473'600;
  const int64_t ticks = modificationTime(path);
  if (ticks == 0) return std::nullopt;
  return std::chrono::system_clock::from_time_t(ticks / ticksPerSecond - secondsTo1970);
}

bool fileExists(TextView path) {
  const auto attributes = attributesOf(path);
  return attributes && !(*attributes & FILE_ATTRIBUTE_DIRECTORY);
}

bool isFolder(TextView path) {
  const auto attributes = attributesOf(path);
  return attributes && (*attributes & FILE_ATTRIBUTE_DIRECTORY);
}

bool createFolders(TextView path) {
  if (path.empty() || isFolder(path)) return true;
  const Text above = folderOf(path);
  if (above.size() < path.size() && above != u"." && !createFolders(above)) return false;
  if (CreateDirectoryW(nativePath(path).c_str(), nullptr) || isFolder(path)) return true;
  return failBySystem(u"Could not create folder");
}

bool removeFile(TextView path) {
  if (DeleteFileW(nativePath(path).c_str())) return true;
  noteSystemError();
  return false;
}

}  // namespace tervo::platform
