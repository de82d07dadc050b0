#include "platform/file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "platform/file_time.h"
#include "platform/path.h"
#include "platform/system_error.h"

namespace tervo::platform {
namespace {

std::optional<struct stat> statusOf(TextView path) {
  struct stat status {};
  if (stat(toPathBytes(path).c_str(), &status) != 0) return std::nullopt;
  return status;
}

}  // namespace

std::optional<FileIdentity> fileIdentity(TextView path) {
  const auto status = statusOf(path);
  if (!status) return std::nullopt;
  return FileIdentity{static_cast<uint64_t>(status->st_dev), {static_cast<uint64_t>(status->st_ino), 0}};
}

int64_t modificationTime(TextView path) {
  const auto status = statusOf(path);
  return status ? int64_t{status->st_mtim.tv_sec} * 1'000'000'000 + status->st_mtim.tv_nsec : 0;
}

std::optional<std::chrono::system_clock::time_point> writtenAt(TextView path) {
  const auto status = statusOf(path);
  if (!status) return std::nullopt;
  return std::chrono::system_clock::from_time_t(status->st_mtim.tv_sec);
}

bool fileExists(TextView path) {
  const auto status = statusOf(path);
  return status && !S_ISDIR(status->st_mode);
}

bool isFolder(TextView path) {
  const auto status = statusOf(path);
  return status && S_ISDIR(status->st_mode);
}

bool createFolders(TextView path) {
  if (path.empty() || isFolder(path)) return true;
  const Text above = folderOf(path);
  if (above.size() < path.size() && above != u"." && !createFolders(above)) return false;
  if (mkdir(toPathBytes(path).c_str(), 0777) == 0 || (errno == EEXIST && isFolder(path))) return true;
  return failBySystem(u"Could not create folder");
}

bool removeFile(TextView path) {
  if (unlink(toPathBytes(path).c_str()) == 0) return true;
  noteSystemError();
  return false;
}

}  // namespace tervo::platform
