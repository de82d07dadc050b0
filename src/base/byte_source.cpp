#include "base/byte_source.h"

#include <algorithm>
#include <cstring>

#include "base/last_error.h"

namespace tervo {

bool ByteSource::readExactly(uint64_t offset, std::span<std::byte> out) const {
  if (readAt(offset, out) == out.size()) return true;
  return fail(u"Reading from file failed");
}

std::vector<std::byte> ByteSource::readUpTo(uint64_t offset, uint64_t count, std::size_t limit) const {
  if (offset >= size()) return {};
  count = std::min({count, size() - offset, uint64_t{limit}});
  std::vector<std::byte> bytes(static_cast<std::size_t>(count));
  bytes.resize(readAt(offset, bytes));
  return bytes;
}

std::size_t MemorySource::readAt(uint64_t offset, std::span<std::byte> out) const noexcept {
  if (offset >= bytes_.size() || out.empty()) return 0;
  const std::size_t count = std::min(out.size(), bytes_.size() - static_cast<std::size_t>(offset));
  std::memcpy(out.data(), bytes_.data() + offset, count);
  return count;
}

bool ByteSink::writeFrom(const ByteSource& source, uint64_t offset, uint64_t length) {
  std::vector<std::byte> block(static_cast<std::size_t>(std::min<uint64_t>(length, 256 * 1024)));
  while (length > 0) {
    const auto part = std::span(block).first(static_cast<std::size_t>(std::min<uint64_t>(length, block.size())));
    if (!source.readExactly(offset, part) || !write(part)) return false;
    offset += part.size();
    length -= part.size();
  }
  return true;
}

bool MemorySink::write(std::span<const std::byte> bytes) {
  bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
  return true;
}

bool MemorySink::patch(uint64_t offset, std::span<const std::byte> bytes) {
  if (offset > bytes_.size() || bytes.size() > bytes_.size() - offset) return fail(u"Writing to file failed");
  std::copy(bytes.begin(), bytes.end(), bytes_.begin() + static_cast<std::ptrdiff_t>(offset));
  return true;
}

}  // namespace tervo
