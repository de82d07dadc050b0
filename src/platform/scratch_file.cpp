#include "platform/scratch_file.h"

#include <algorithm>

namespace tervo::platform {

bool ScratchFile::append(std::span<const std::byte> bytes) {
  if (!writeAt(size_, bytes)) return false;
  if (!bytes.empty()) writtenEnd_ = size_ + bytes.size();
  size_ += bytes.size();
  return true;
}

std::size_t ScratchFile::readAt(uint64_t offset, std::span<std::byte> out) const noexcept {
  if (offset >= size_) return 0;
  const auto part = out.first(static_cast<std::size_t>(std::min<uint64_t>(out.size(), size_ - offset)));
  const auto written =
      static_cast<std::size_t>(std::min<uint64_t>(part.size(), writtenEnd_ - std::min(writtenEnd_, offset)));
  if (const std::size_t got = readWritten(offset, part.first(written)); got < written) return got;
  const auto skipped = part.subspan(written);
  std::fill(skipped.begin(), skipped.end(), std::byte{0});
  return part.size();
}

}  // namespace tervo::platform
