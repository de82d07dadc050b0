#pragma once
// A file without a name that others could use: for results that are too large for the memory. It goes with the object.

#include <memory>
#include <span>

#include "base/byte_source.h"

namespace tervo::platform {

/// Written from front to back by one thread, then read by any.
class ScratchFile : public ByteSource {
 public:
  /// In the temporary folder. Null with "Could not open file".
  static std::shared_ptr<ScratchFile> create();

  /// False with "Writing to file failed".
  virtual bool append(std::span<const std::byte> bytes) = 0;
};

}  // namespace tervo::platform
