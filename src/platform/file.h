#pragma once
// Files on disk: 64-bit positions, wide paths, reads at any position from any thread, and writing that replaces the
// file that was there only once everything has been written.

#include <array>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "base/byte_source.h"
#include "base/text.h"

namespace tervo::platform {

/// A file opened for reading. It stays readable when another file takes its name.
class InputFile : public ByteSource {
 public:
  /// Null with "Could not open file" (and the cause of the operating system kept in systemErrorCause()).
  /// Folders, sockets and the like are refused; a pipe or device is read as far as it says its size.
  static std::shared_ptr<InputFile> open(TextView path);

  /// Says that the file will be read from front to back, for the system to read ahead.
  virtual void expectSequentialReads() const noexcept {}
};

/// What the operating system said about the last failed open, read or write of this thread, e.g. "No such file or
/// directory". Empty when it said nothing since a file was last opened: a source that has become shorter is no error to
/// it.
Text systemErrorCause();

enum class Replace { never, allowed };

/// A file being written. Bytes go to a temporary file beside the target (buffered); commit() flushes it to the disk and
/// gives it the target's name in one step. Destroyed without commit, the temporary file is removed and the target is
/// as it was. On POSIX the new file has the mode of the file that it replaces, else 0666 less the umask; a target that
/// is a symbolic link is written through the link. A target that is write-protected is refused, although the folder
/// would allow replacing it. A POSIX target that is a pipe or a character device gets all bytes at commit().
class OutputFile : public ByteSink {
 public:
  /// Null with "Could not open file" when the temporary file cannot be made, or when the target exists and `replace`
  /// is never ("File exists already").
  static std::unique_ptr<OutputFile> create(TextView target, Replace replace);

  /// Flushes, syncs and renames. False with "Writing to file failed", or "File exists already" when another program has
  /// made the target meanwhile and `replace` is never; the target is then untouched.
  virtual bool commit() = 0;
};

/// Names a file itself, whatever the paths that lead to it.
struct FileIdentity {
  uint64_t volume = 0;
  std::array<uint64_t, 2> file{};

  bool operator==(const FileIdentity&) const = default;
};

/// Nothing when there is no such file.
std::optional<FileIdentity> fileIdentity(TextView path);
/// True when both paths lead to one existing file.
bool sameFile(TextView pathA, TextView pathB);

/// True when something other than a folder has this name.
bool fileExists(TextView path);
bool isFolder(TextView path);
/// Makes the folder and those above it; true as well when it is there already.
bool createFolders(TextView path);
/// Removes a file (not a folder); false when there is none or it cannot be removed.
bool removeFile(TextView path);

/// A name that nobody can guess and that no other program uses: ".tervo-" and 16 hexadecimal digits.
Text temporaryName();

/// Names of the files and folders in a folder, in no order. Nothing with "Could not read folder".
std::optional<std::vector<Text>> listFolder(TextView folder);
/// The same, empty when it cannot be read.
std::vector<Text> namesIn(TextView folder);

/// Adds bytes to the end of a file, which is made when it is not there; what one call writes stays together, whoever
/// else appends. False with "Writing to file failed" or "Could not open file".
bool appendToFile(TextView path, std::string_view bytes);

/// Says to other processes that this one is alive: held until it is destroyed or the process ends, however it ends.
class PresenceFile {
 public:
  virtual ~PresenceFile() = default;
  /// Null when the file cannot be made, or when it is held already. The file goes with the object.
  static std::unique_ptr<PresenceFile> tryHold(TextView path);
};

}  // namespace tervo::platform
