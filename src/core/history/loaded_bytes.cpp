#include "core/history/loaded_bytes.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>

#include "base/last_error.h"

namespace tervo {
namespace {

constexpr std::size_t largestRead = 268435456;  // bytes; some systems refuse reads of 2 GiB

}  // namespace

std::shared_ptr<const LoadedBytes> LoadedBytes::load(const ByteSource& source) {
  auto loaded = std::make_shared<LoadedBytes>();
  if (source.size() > std::numeric_limits<std::size_t>::max()) return fail(u"Out of memory");
  loaded->size_ = static_cast<std::size_t>(source.size());
  // Not value-initialised: the pages are touched once, by the read.
  loaded->bytes_.reset(new (std::nothrow) std::byte[loaded->size_]);
  if (!loaded->bytes_) return fail(u"Out of memory");
  for (std::size_t at = 0; at < loaded->size_;) {
    const std::span part(loaded->bytes_.get() + at, std::min(loaded->size_ - at, largestRead));
    if (!source.readExactly(at, part)) return nullptr;
    at += part.size();
  }
  return loaded;
}

std::size_t LoadedBytes::readAt(uint64_t offset, std::span<std::byte> out) const noexcept {
  if (offset >= size_ || out.empty()) return 0;
  const std::size_t count = std::min(out.size(), size_ - static_cast<std::size_t>(offset));
  std::memcpy(out.data(), bytes_.get() + offset, count);
  return count;
}

}  // namespace tervo
