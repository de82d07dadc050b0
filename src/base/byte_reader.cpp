#include "base/byte_reader.h"

namespace tervo {

std::span<const std::byte> ByteReader::take(std::size_t count) {
  if (!ok()) return {};
  if (count > remaining()) {
    setError();
    return {};
  }
  const auto taken = bytes_.subspan(position_, count);
  position_ += count;
  return taken;
}

std::string_view ByteReader::chars(std::size_t count) {
  const auto taken = take(count);
  return {reinterpret_cast<const char*>(taken.data()), taken.size()};
}

ByteReader ByteReader::sub(std::size_t count) {
  const uint64_t start = base_ + position_;
  ByteReader inner(take(count), start);
  if (!ok()) inner.errorOffset_ = errorOffset_;
  return inner;
}

void ByteReader::seek(std::size_t position) {
  if (!ok()) return;
  if (position > bytes_.size()) return setError();
  position_ = position;
}

void ByteReader::setError() {
  errorOffset_ = base_ + position_;
  position_ = bytes_.size();
}

}  // namespace tervo
