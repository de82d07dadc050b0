#include "base/byte_writer.h"

#include <algorithm>
#include <array>

namespace tervo {

void ByteWriter::zeros(std::size_t count) {
  static constexpr std::array<std::byte, 64> block{};
  for (; count > 0 && ok_; count -= std::min(count, block.size()))
    bytes(std::span(block).first(std::min(count, block.size())));
}

ChunkScope::ChunkScope(ByteWriter& writer, FourCC id, ByteOrder order) : writer_(writer), order_(order) {
  writer.record(id);
  writer.little<uint32_t>(0);
  bodyStart_ = writer.position();
}

ChunkScope::~ChunkScope() {
  const uint64_t length = writer_.position() - bodyStart_;
  const auto size = static_cast<uint32_t>(std::min<uint64_t>(length, 0xFFFFFFFF));
  if (length % 2 == 1) writer_.u8(0);
  if (order_ == ByteOrder::little) {
    writer_.patch(bodyStart_ - 4, LittleU32(size));
  } else {
    writer_.patch(bodyStart_ - 4, BigU32(size));
  }
}

}  // namespace tervo
