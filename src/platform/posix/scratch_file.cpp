#include "platform/scratch_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "platform/file.h"
#include "platform/path.h"
#include "platform/posix/input_file.h"
#include "platform/system_error.h"
#include "platform/user_folders.h"

namespace tervo::platform {
namespace {

class PosixScratchFile final : public ScratchFile {
 public:
  explicit PosixScratchFile(FileDescriptor file) : file_(std::move(file)) {}

  std::size_t readWritten(uint64_t offset, std::span<std::byte> out) const noexcept override {
    std::size_t done = 0;
    while (done < out.size()) {
      const ssize_t got = pread(file_.get(), out.data() + done, out.size() - done, static_cast<off_t>(offset + done));
      if (got < 0 && errno == EINTR) continue;
      if (got <= 0) break;
      done += static_cast<std::size_t>(got);
    }
    return done;
  }

  bool writeAt(uint64_t offset, std::span<const std::byte> bytes) override {
    while (!bytes.empty()) {
      const ssize_t put = pwrite(file_.get(), bytes.data(), bytes.size(), static_cast<off_t>(offset));
      if (put < 0 && errno == EINTR) continue;
      if (put <= 0) return failBySystem(u"Writing to file failed", temporaryFolder());
      offset += static_cast<uint64_t>(put);
      bytes = bytes.subspan(static_cast<std::size_t>(put));
    }
    return true;
  }

 private:
  FileDescriptor file_;
};

}  // namespace

std::shared_ptr<ScratchFile> ScratchFile::create() {
  const std::string path = toPathBytes(join(temporaryFolder(), temporaryName()));
  FileDescriptor file(::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
  if (!file) return failBySystem(u"Could not open file", temporaryFolder());
  ::unlink(path.c_str());
  return std::make_shared<PosixScratchFile>(std::move(file));
}

}  // namespace tervo::platform
