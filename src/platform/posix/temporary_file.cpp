#include "platform/posix/temporary_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdio>

#include "platform/unbuffered_file.h"

namespace tervo::platform {
namespace {

// What a signal handler has to know of a named file. A slot belongs to the process that filled it: a forked child
// inherits the table but not the files.
struct Slot {
  std::atomic<bool> taken{false};
  std::atomic<pid_t> owner{0};
  int folder = -1;
  std::array<char, 32> name{};
};

std::array<Slot, 1024> slots;
static_assert(std::atomic<bool>::is_always_lock_free && std::atomic<pid_t>::is_always_lock_free);

/// rename() that refuses a target which exists, where the file system has no such operation: an empty file claims the
/// name first, so that nobody else's file can be there when the rename replaces it.
bool renameToClaimedName(int folder, const char* from, const char* to) {
  const FileDescriptor claim(openat(folder, to, O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0600));
  if (!claim) return false;
  if (renameat(folder, from, folder, to) == 0) return true;
  const int error = errno;
  unlinkat(folder, to, 0);
  errno = error;
  return false;
}

bool renameTo(int folder, const char* from, const char* to, Replace replace) {
  if (replace == Replace::allowed) return renameat(folder, from, folder, to) == 0;
  if (renameat2(folder, from, folder, to, RENAME_NOREPLACE) == 0) return true;
  return (errno == EINVAL || errno == ENOSYS) && renameToClaimedName(folder, from, to);
}

std::string procPath(int descriptor) {
  return "/proc/self/fd/" + std::to_string(descriptor);
}

}  // namespace

std::unique_ptr<TemporaryEntry> TemporaryEntry::claim(int folder) {
  for (std::size_t i = 0; i < slots.size(); ++i) {
    if (slots[i].taken.exchange(true)) continue;
    const std::string name = toUtf8(temporaryName());
    slots[i].folder = folder;
    std::snprintf(slots[i].name.data(), slots[i].name.size(), "%s", name.c_str());
    slots[i].owner = getpid();
    return std::unique_ptr<TemporaryEntry>(new TemporaryEntry(i));
  }
  errno = EMFILE;
  return nullptr;
}

TemporaryEntry::~TemporaryEntry() {
  Slot& slot = slots[slot_];
  if (slot.owner == getpid()) unlinkat(slot.folder, slot.name.data(), 0);
  slot.owner = 0;
  slot.taken = false;
}

const char* TemporaryEntry::name() const {
  return slots[slot_].name.data();
}

void removeTemporaryFiles() noexcept {
  const pid_t self = getpid();
  for (const Slot& slot : slots) {
    if (slot.owner == self) unlinkat(slot.folder, slot.name.data(), 0);
  }
}

std::unique_ptr<TemporaryFile> TemporaryFile::create(int folder, mode_t mode, TemporaryKind kind) {
  auto file = std::make_unique<TemporaryFile>();
  file->folder_ = folder;
  const bool opened = (kind == TemporaryKind::unnamedWherePossible && file->openUnnamed(mode)) || file->openNamed(mode);
  if (opened) return file;
  const int error = errno;  // removing what was not made has one of its own
  file.reset();
  errno = error;
  return nullptr;
}

bool TemporaryFile::openUnnamed(mode_t mode) {
  file_ = FileDescriptor(openat(folder_, ".", O_TMPFILE | O_RDWR | O_CLOEXEC, mode));
  // It gets its name through /proc, which may not be mounted.
  if (file_ && access(procPath(file_.get()).c_str(), F_OK) == 0) return true;
  file_ = FileDescriptor();
  return false;
}

bool TemporaryFile::openNamed(mode_t mode) {
  entry_ = TemporaryEntry::claim(folder_);
  if (!entry_) return false;
  file_ = FileDescriptor(openat(folder_, entry_->name(), O_CREAT | O_EXCL | O_RDWR | O_CLOEXEC, mode));
  return bool(file_);
}

bool TemporaryFile::linkTo(const char* name) const {
  return linkat(AT_FDCWD, procPath(file_.get()).c_str(), folder_, name, AT_SYMLINK_FOLLOW) == 0;
}

bool TemporaryFile::publish(const std::string& name, Replace replace) {
  if (!entry_) {
    if (linkTo(name.c_str())) return true;
    if (errno != EEXIST || replace == Replace::never) return false;
    // Only a rename replaces, and it needs a name to rename from.
    entry_ = TemporaryEntry::claim(folder_);
    if (!entry_ || !linkTo(entry_->name())) return false;
  }
  if (!renameTo(folder_, entry_->name(), name.c_str(), replace)) return false;
  entry_.reset();
  return true;
}

}  // namespace tervo::platform
