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
  bool append(std::span<const std::byte> bytes);
  /// Goes on behind so many bytes that are read as zeros and take no room on the disk.
  void skip(uint64_t bytes) { size_ += bytes; }

  uint64_t size() const override { return size_; }
  std::size_t readAt(uint64_t offset, std::span<std::byte> out) const noexcept override;

 private:
  virtual bool writeAt(uint64_t offset, std::span<const std::byte> bytes) = 0;
  virtual std::size_t readWritten(uint64_t offset, std::span<std::byte> out) const noexcept = 0;

  uint64_t size_ = 0;
  uint64_t writtenEnd_ = 0;  ///< nothing was written behind it
};

}  // namespace tervo::platform
