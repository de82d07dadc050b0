#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include "platform/file.h"
#include "platform/posix/file_descriptor.h"

namespace tervo::platform {
namespace {

class LockedFile final : public PresenceFile {
 public:
  LockedFile(FileDescriptor file, std::string path) : file_(std::move(file)), path_(std::move(path)) {}
  ~LockedFile() override { unlink(path_.c_str()); }

 private:
  FileDescriptor file_;
  std::string path_;
};

/// Another process may have removed the name between opening and locking the file.
bool stillBears(int file, const std::string& path) {
  struct stat open {
  }, named{};
  return fstat(file, &open) == 0 && stat(path.c_str(), &named) == 0 && open.st_ino == named.st_ino &&
         open.st_dev == named.st_dev;
}

}  // namespace

std::unique_ptr<PresenceFile> PresenceFile::tryHold(TextView path) {
  std::string bytes = toPathBytes(path);
  FileDescriptor file(open(bytes.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
  if (!file || flock(file.get(), LOCK_EX | LOCK_NB) != 0 || !stillBears(file.get(), bytes)) return nullptr;
  return std::make_unique<LockedFile>(std::move(file), std::move(bytes));
}

}  // namespace tervo::platform
