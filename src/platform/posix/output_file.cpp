// The POSIX side of writing: a temporary file beside the target, renamed over it; pipes and devices get a copy.

#include <fcntl.h>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <string>
#include <vector>

#include "platform/path.h"
#include "platform/posix/input_file.h"
#include "platform/posix/temporary_file.h"
#include "platform/system_error.h"
#include "platform/unbuffered_file.h"
#include "platform/user_folders.h"

namespace tervo::platform {
namespace {

constexpr TextView couldNotOpen = u"Could not open file";
constexpr TextView writingFailed = u"Writing to file failed";

bool writeFully(int file, std::span<const std::byte> bytes, std::optional<uint64_t> offset) {
  while (!bytes.empty()) {
    const ssize_t done = offset ? pwrite(file, bytes.data(), bytes.size(), static_cast<off_t>(*offset))
                                : write(file, bytes.data(), bytes.size());
    if (done < 0 && errno == EINTR) continue;
    if (done <= 0) return false;
    bytes = bytes.subspan(static_cast<std::size_t>(done));
    if (offset) *offset += static_cast<uint64_t>(done);
  }
  return true;
}

/// One step of a copy inside the kernel: bytes done, 0 at the end of `in`, negative when it cannot.
using CopyStep = ssize_t (*)(int in, off_t from, int out, off_t to, std::size_t count);

ssize_t copyRange(int in, off_t from, int out, off_t to, std::size_t count) {
  return copy_file_range(in, &from, out, &to, count, 0);
}

/// Between file systems, where copy_file_range refuses.
ssize_t sendRange(int in, off_t from, int out, off_t to, std::size_t count) {
  if (lseek(out, to, SEEK_SET) < 0) return -1;
  return sendfile(out, in, &from, count);
}

uint64_t copyBy(CopyStep step, int in, uint64_t from, int out, uint64_t to, uint64_t length) {
  constexpr uint64_t most = 1u << 30;
  uint64_t done = 0;
  while (done < length) {
    const auto count = static_cast<std::size_t>(std::min(length - done, most));
    const ssize_t got = step(in, static_cast<off_t>(from + done), out, static_cast<off_t>(to + done), count);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) break;
    done += static_cast<uint64_t>(got);
  }
  return done;
}

class TemporaryOutput : public UnbufferedFile {
 public:
  TemporaryOutput(FileDescriptor folder, std::unique_ptr<TemporaryFile> file)
      : folder_(std::move(folder)), file_(std::move(file)) {}

  bool writeAt(uint64_t offset, std::span<const std::byte> bytes) override {
    return writeFully(file_->descriptor(), bytes, offset) || failBySystem(writingFailed);
  }

  uint64_t copyFrom(const ByteSource& source, uint64_t from, uint64_t to, uint64_t length) override {
    const auto* input = dynamic_cast<const PosixInputFile*>(&source);
    if (!input) return 0;
    const int in = input->descriptor(), out = file_->descriptor();
    uint64_t done = copyBy(copyRange, in, from, out, to, length);
    if (done < length) done += copyBy(sendRange, in, from + done, out, to + done, length - done);
    return done;
  }

 protected:
  FileDescriptor folder_;
  std::unique_ptr<TemporaryFile> file_;
};

class ReplacingOutput final : public TemporaryOutput {
 public:
  ReplacingOutput(FileDescriptor folder, std::unique_ptr<TemporaryFile> file, std::string name, Replace replace)
      : TemporaryOutput(std::move(folder), std::move(file)), name_(std::move(name)), replace_(replace) {}

  bool putInPlace() override {
    // A full disk may show only here, where the system had put off finding room.
    if (fsync(file_->descriptor()) != 0 && errno != EINVAL) return failBySystem(writingFailed);
    if (!file_->publish(name_, replace_)) return failBySystem(errno == EEXIST ? u"File exists already" : writingFailed);
    fsync(folder_.get());
    return true;
  }

 private:
  std::string name_;
  Replace replace_;
};

/// Keeps the bytes until all are there, because a pipe cannot be patched.
class StreamOutput final : public TemporaryOutput {
 public:
  StreamOutput(FileDescriptor folder, std::unique_ptr<TemporaryFile> file, std::string target)
      : TemporaryOutput(std::move(folder), std::move(file)), target_(std::move(target)) {}

  bool putInPlace() override {
    const FileDescriptor target(open(target_.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY));
    if (!target || !send(target.get())) return failBySystem(writingFailed);
    return true;
  }

 private:
  bool send(int target) const {
    std::vector<std::byte> block(std::size_t{256} << 10);
    for (uint64_t at = 0;;) {
      const ssize_t got = pread(file_->descriptor(), block.data(), block.size(), static_cast<off_t>(at));
      if (got < 0 && errno == EINTR) continue;
      if (got <= 0) return got == 0;
      if (!writeFully(target, std::span(block).first(static_cast<std::size_t>(got)), std::nullopt)) return false;
      at += static_cast<uint64_t>(got);
    }
  }

  std::string target_;
};

/// Follows symbolic links by hand, so that a link whose target does not exist yet leads to where it will be.
std::optional<std::string> throughLinks(std::string path) {
  for (int followed = 0; followed < 40; ++followed) {
    std::string link(PATH_MAX, '\0');
    const ssize_t length = readlink(path.c_str(), link.data(), link.size());
    if (length < 0) return path;
    link.resize(static_cast<std::size_t>(length));
    // A relative link starts from the folder that it stands in.
    path.resize(link.starts_with('/') ? 0 : path.rfind('/') + 1);
    path += link;
  }
  errno = ELOOP;
  return std::nullopt;
}

FileDescriptor openFolder(const std::string& path) {
  FileDescriptor folder(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  // A folder that may be written but not listed can still be named.
  if (!folder && errno == EACCES) folder = FileDescriptor(open(path.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
  return folder;
}

/// Owner, group and mode of the file that is being replaced, as far as this user may give them.
void takeOver(int file, const struct stat& replaced) {
  struct stat own {};
  if (fstat(file, &own) != 0) return;
  const bool otherOwner = own.st_uid != replaced.st_uid || own.st_gid != replaced.st_gid;
  if (otherOwner && fchown(file, replaced.st_uid, replaced.st_gid) != 0) {
    const int ignored = fchown(file, own.st_uid, replaced.st_gid);
    static_cast<void>(ignored);
  }
  fchmod(file, replaced.st_mode & 0777);
}

enum class TargetKind { absent, file, stream, refused };

struct Target {
  TargetKind kind;
  struct stat status;
};

/// What the path leads to now; errno says why it is refused.
Target targetAt(const std::string& path) {
  Target target{};
  if (stat(path.c_str(), &target.status) != 0) {
    target.kind = errno == ENOENT ? TargetKind::absent : TargetKind::refused;
  } else if (S_ISREG(target.status.st_mode)) {
    const bool writable = faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) == 0;
    target.kind = writable ? TargetKind::file : TargetKind::refused;
  } else if (S_ISCHR(target.status.st_mode) || S_ISFIFO(target.status.st_mode)) {
    target.kind = TargetKind::stream;
  } else {
    // Writing sound over a disc's blocks is never what was meant.
    target.kind = TargetKind::refused;
    errno = S_ISDIR(target.status.st_mode) ? EISDIR : EINVAL;
  }
  return target;
}

std::unique_ptr<UnbufferedFile> createStream(const std::string& target) {
  FileDescriptor folder = openFolder(toPathBytes(temporaryFolder()));
  auto file = folder ? TemporaryFile::create(folder.get(), 0600) : nullptr;
  if (!file) return failBySystem(couldNotOpen);
  return std::make_unique<StreamOutput>(std::move(folder), std::move(file), target);
}

std::unique_ptr<UnbufferedFile> createBeside(const std::string& path, const Target& target, Replace replace) {
  const auto real = throughLinks(path);
  if (!real) return failBySystem(couldNotOpen);
  std::string name = real->substr(real->rfind('/') + 1);
  if (name.empty()) return failBySystem(couldNotOpen, EISDIR);
  const bool replaces = target.kind == TargetKind::file;
  FileDescriptor folder = openFolder(toPathBytes(folderOf(fromPathBytes(*real))));
  auto file = folder ? TemporaryFile::create(folder.get(), replaces ? 0600 : 0666) : nullptr;
  if (!file) return failBySystem(couldNotOpen);
  if (replaces) takeOver(file->descriptor(), target.status);
  return std::make_unique<ReplacingOutput>(std::move(folder), std::move(file), std::move(name), replace);
}

}  // namespace

std::unique_ptr<UnbufferedFile> createUnbuffered(TextView target, Replace replace) {
  const std::string path = toPathBytes(target);
  const Target found = targetAt(path);
  if (found.kind == TargetKind::refused) return failBySystem(couldNotOpen);
  if (found.kind == TargetKind::stream) return createStream(path);
  if (found.kind == TargetKind::file && replace == Replace::never) return failBySystem(u"File exists already", EEXIST);
  return createBeside(path, found, replace);
}

}  // namespace tervo::platform
