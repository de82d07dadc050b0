#pragma once
// A file opened for reading, with the descriptor that a copy inside the kernel needs.

#include "platform/file.h"
#include "platform/posix/file_descriptor.h"

namespace tervo::platform {

class PosixInputFile final : public InputFile {
 public:
  PosixInputFile(FileDescriptor file, uint64_t size) : file_(std::move(file)), size_(size) {}

  /// As it was when the file was opened; what is appended later is not seen.
  uint64_t size() const override { return size_; }
  std::size_t readAt(uint64_t offset, std::span<std::byte> out) const noexcept override;
  void expectSequentialReads() const noexcept override;

  int descriptor() const { return file_.get(); }

 private:
  FileDescriptor file_;
  uint64_t size_;
};

}  // namespace tervo::platform
