#pragma once
// Where bytes come from and go to, without saying what it is: a file, a stretch of one, memory.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace tervo {

/// Bytes that can be read at any position. Reads are positional and may come from several threads at once.
class ByteSource {
 public:
  virtual ~ByteSource() = default;

  virtual uint64_t size() const = 0;
  /// Fills `out` from `offset` and returns how many bytes were there: fewer than asked for at the end of the source or
  /// when the operating system fails. Never throws.
  virtual std::size_t readAt(uint64_t offset, std::span<std::byte> out) const noexcept = 0;

  /// Reads exactly `out.size()` bytes; false with "Reading from file failed" when they are not all there.
  bool readExactly(uint64_t offset, std::span<std::byte> out) const;
  /// Reads `count` bytes from `offset`, cut to what is there and to `limit`.
  std::vector<std::byte> readUpTo(uint64_t offset, uint64_t count, std::size_t limit) const;
};

class MemorySource final : public ByteSource {
 public:
  explicit MemorySource(std::vector<std::byte> bytes) : bytes_(std::move(bytes)) {}

  uint64_t size() const override { return bytes_.size(); }
  std::size_t readAt(uint64_t offset, std::span<std::byte> out) const noexcept override;

 private:
  std::vector<std::byte> bytes_;
};

/// Bytes that are written one after another, and patched afterwards where a size is known late.
class ByteSink {
 public:
  virtual ~ByteSink() = default;

  /// Appends. False with LastErrorText set when it fails; every later call then fails too.
  virtual bool write(std::span<const std::byte> bytes) = 0;
  /// Overwrites bytes that were written before.
  virtual bool patch(uint64_t offset, std::span<const std::byte> bytes) = 0;
  /// How many bytes have been appended.
  virtual uint64_t position() const = 0;
  /// Appends `length` bytes of `source`; sinks that are files may let the operating system copy. False when the source
  /// ends before ("Reading from file failed").
  virtual bool writeFrom(const ByteSource& source, uint64_t offset, uint64_t length);
};

class MemorySink final : public ByteSink {
 public:
  bool write(std::span<const std::byte> bytes) override;
  bool patch(uint64_t offset, std::span<const std::byte> bytes) override;
  uint64_t position() const override { return bytes_.size(); }

  const std::vector<std::byte>& bytes() const { return bytes_; }
  std::vector<std::byte> take() { return std::move(bytes_); }

 private:
  std::vector<std::byte> bytes_;
};

}  // namespace tervo
