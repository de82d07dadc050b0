#pragma once
// Inside platform/: what the operating system has to do for an OutputFile.

#include <memory>
#include <span>

#include "base/byte_source.h"
#include "base/text.h"
#include "platform/file.h"

namespace tervo::platform {

/// A temporary file that goes away unless it is put in place. Failed operations set LastErrorText and the system's
/// cause.
class UnbufferedFile {
 public:
  virtual ~UnbufferedFile() = default;

  virtual bool writeAt(uint64_t offset, std::span<const std::byte> bytes) = 0;
  /// Has the system copy bytes of `source` to offset `to` and returns how many it did, 0 when it cannot do it at all.
  virtual uint64_t copyFrom(const ByteSource& source, uint64_t from, uint64_t to, uint64_t length) = 0;
  /// Flushes to the disk and gives the file its target's name.
  virtual bool putInPlace() = 0;
};

std::unique_ptr<UnbufferedFile> createUnbuffered(TextView target, Replace replace);

}  // namespace tervo::platform
