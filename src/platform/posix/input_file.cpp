#include "platform/posix/input_file.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>

#include "platform/system_error.h"

namespace tervo::platform {
namespace {

/// Size in bytes; nothing, with errno set, for what cannot be read as a file.
std::optional<uint64_t> sizeOf(int file) {
  struct stat status {};
  if (fstat(file, &status) != 0) return std::nullopt;
  if (S_ISREG(status.st_mode)) return static_cast<uint64_t>(status.st_size);
  if (S_ISDIR(status.st_mode)) {
    errno = EISDIR;
    return std::nullopt;
  }
  // Discs say their size by seeking; pipes and terminals cannot seek and have none.
  const off_t end = lseek(file, 0, SEEK_END);
  return end > 0 ? static_cast<uint64_t>(end) : 0;
}

}  // namespace

std::shared_ptr<InputFile> InputFile::open(TextView path) {
  // Without O_NONBLOCK a pipe that nobody writes to would hold the program up here; it means nothing for files.
  FileDescriptor file(::open(toPathBytes(path).c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
  if (!file) return failBySystem(u"Could not open file");
  const auto size = sizeOf(file.get());
  if (!size) return failBySystem(u"Could not open file");
  noteSystemError(0);
  return std::make_shared<PosixInputFile>(std::move(file), *size);
}

std::size_t PosixInputFile::readAt(uint64_t offset, std::span<std::byte> out) const noexcept {
  if (offset >= size_) return 0;
  out = out.first(static_cast<std::size_t>(std::min<uint64_t>(out.size(), size_ - offset)));
  std::size_t done = 0;
  while (done < out.size()) {
    const ssize_t got = pread(file_.get(), out.data() + done, out.size() - done, static_cast<off_t>(offset + done));
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) {
      noteSystemError(got < 0 ? errno : 0);
      break;
    }
    done += static_cast<std::size_t>(got);
  }
  return done;
}

void PosixInputFile::expectSequentialReads() const noexcept {
  posix_fadvise(file_.get(), 0, 0, POSIX_FADV_SEQUENTIAL);
}

}  // namespace tervo::platform
