#pragma once
// A whole file in memory, shared by everything that was read out of it.

#include <memory>

#include "base/byte_source.h"

namespace tervo {

class LoadedBytes final : public ByteSource {
 public:
  /// Null with "Reading from file failed" or "Out of memory".
  static std::shared_ptr<const LoadedBytes> load(const ByteSource& source);

  std::span<const std::byte> span() const { return {bytes_.get(), size_}; }
  uint64_t size() const override { return size_; }
  std::size_t readAt(uint64_t offset, std::span<std::byte> out) const noexcept override;

 private:
  std::unique_ptr<std::byte[]> bytes_;
  std::size_t size_ = 0;
};

}  // namespace tervo
