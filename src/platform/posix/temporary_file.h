#pragma once
// A file that is gone when the process ends, however it ends, unless it has been published under a name. Where the file
// system can, it has no name until then (O_TMPFILE); elsewhere it has one that signal handlers can remove.

#include <sys/types.h>

#include <memory>
#include <string>

#include "platform/file.h"
#include "platform/posix/file_descriptor.h"

namespace tervo::platform {

/// The name of a file that exists for now. Removed with the object, or by removeTemporaryFiles().
class TemporaryEntry {
 public:
  /// Null, with errno set, when a thousand files are being written.
  static std::unique_ptr<TemporaryEntry> claim(int folder);
  ~TemporaryEntry();
  TemporaryEntry(const TemporaryEntry&) = delete;
  TemporaryEntry& operator=(const TemporaryEntry&) = delete;

  const char* name() const;

 private:
  explicit TemporaryEntry(std::size_t slot) : slot_(slot) {}

  std::size_t slot_;
};

/// Removes the named temporary files of this process. Safe in a signal handler; the process has to end then.
void removeTemporaryFiles() noexcept;

enum class TemporaryKind { unnamedWherePossible, named };

class TemporaryFile {
 public:
  /// Makes a file in `folder`, which has to stay open. Null with errno set.
  static std::unique_ptr<TemporaryFile> create(int folder, mode_t mode,
                                               TemporaryKind kind = TemporaryKind::unnamedWherePossible);

  int descriptor() const { return file_.get(); }
  /// Gives the file a name in its folder in one step. False with errno set: EEXIST where `replace` is never and the
  /// name is taken.
  bool publish(const std::string& name, Replace replace);

 private:
  bool linkTo(const char* name) const;
  bool openUnnamed(mode_t mode);
  bool openNamed(mode_t mode);

  int folder_ = -1;
  FileDescriptor file_;
  std::unique_ptr<TemporaryEntry> entry_;  ///< null while the file has no name
};

}  // namespace tervo::platform
