#include "platform/settings_backend.h"

#include <fcntl.h>
#include <sys/file.h>

#include <cerrno>
#include <cstdlib>

#include "platform/file.h"
#include "platform/path.h"
#include "platform/posix/file_descriptor.h"
#include "platform/settings_lines.h"
#include "platform/system_error.h"
#include "platform/user_folders.h"

namespace tervo::platform {
namespace {

constexpr std::size_t largestFile = 16u << 20;

/// The file as it is, empty when there is none; nothing, with LastErrorText, when it cannot be read.
std::optional<std::string> contentOf(TextView path) {
  if (!fileExists(path)) return std::string();
  const auto file = InputFile::open(path);
  if (!file) return std::nullopt;
  if (file->size() > largestFile) return failBySystem(u"Could not open file", EFBIG);
  std::string content(static_cast<std::size_t>(file->size()), '\0');
  if (!file->readExactly(0, std::as_writable_bytes(std::span(content)))) return std::nullopt;
  return content;
}

/// Holds back other programs between reading and replacing the file. The lock is on a file beside it, because the file
/// itself is another one after each write.
FileDescriptor lockBeside(TextView path) {
  const std::string name = toPathBytes(Text(path) + u".lock");
  FileDescriptor lock(open(name.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666));
  // One that another user has made (the superuser, once) can be locked as long as it can be read.
  if (!lock && errno == EACCES) {
    lock = FileDescriptor(open(name.c_str(), O_RDONLY | O_CLOEXEC));
    if (!lock) errno = EACCES;
  }
  while (lock && flock(lock.get(), LOCK_EX) != 0 && errno == EINTR) {
  }
  return lock;
}

class FileBackend final : public SettingsBackend {
 public:
  explicit FileBackend(Text path) : path_(std::move(path)) {}

  std::vector<StoredSetting> readAll() override { return settingsIn(contentOf(path_).value_or("")); }

  bool write(std::span<const StoredSetting> values) override {
    return replaceFile(values) || fail(u"Could not store the settings in " + path_ + u": " + systemErrorCause());
  }

 private:
  bool replaceFile(std::span<const StoredSetting> values) const {
    if (!createFolders(folderOf(path_))) return false;
    const FileDescriptor lock = lockBeside(path_);
    if (!lock) return failBySystem(u"Could not open file");
    const auto before = contentOf(path_);
    if (!before) return false;
    const std::string merged = mergedInto(*before, values);
    if (merged == *before) return true;
    const auto file = OutputFile::create(path_, Replace::allowed);
    return file && file->write(std::as_bytes(std::span(merged))) && file->commit();
  }

  Text path_;
};

Text settingsPath() {
  const char* other = std::getenv("TERVO_SETTINGS");
  if (other && *other) return fromPathBytes(other);
  return join(join(configFolder(), u"tervo-studio"), u"settings");
}

}  // namespace

std::unique_ptr<SettingsBackend> openUserSettings() {
  return openSettingsAt(settingsPath());
}

std::unique_ptr<SettingsBackend> openSettingsAt(TextView place) {
  return std::make_unique<FileBackend>(absolute(place));
}

}  // namespace tervo::platform
