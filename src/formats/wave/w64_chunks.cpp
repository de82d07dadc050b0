#include "formats/wave/w64_chunks.h"

#include <algorithm>

#include "base/byte_reader.h"

namespace tervo {
namespace {

constexpr std::size_t nameBytes = 4;
constexpr uint64_t alignment = 8;
// {ABF76256-392D-11D2-86C7-00C04F8EDB8A}, {925F94BC-525A-11D2-86DC-00C04F8EDB8A}
constexpr Guid markersGuid = {0x56, 0x62, 0xF7, 0xAB, 0x2D, 0x39, 0xD2, 0x11,
                              0x86, 0xC7, 0,    0xC0, 0x4F, 0x8E, 0xDB, 0x8A};
constexpr Guid summaryGuid = {0xBC, 0x94, 0x5F, 0x92, 0x5A, 0x52, 0xD2, 0x11,
                              0x86, 0xDC, 0,    0xC0, 0x4F, 0x8E, 0xDB, 0x8A};

}  // namespace

Guid guidOf(FourCC id) {
  if (id == w64Markers) return markersGuid;
  if (id == w64Summary) return summaryGuid;
  Guid guid = w64Wave;
  for (std::size_t i = 0; i < nameBytes; ++i) guid[i] = static_cast<uint8_t>(id.chars[i]);
  return guid;
}

FourCC idOf(const Guid& guid) {
  FourCC id;
  for (std::size_t i = 0; i < nameBytes; ++i) id.chars[i] = static_cast<char>(guid[i]);
  // A name that is not made of characters would end the chunks of a WAV file.
  const bool isNamed = isPrintable(id) || id == w64Markers || id == w64Summary;
  return isNamed && guidOf(id) == guid ? id : w64Unknown;
}

std::optional<Chunk> W64Walker::next() {
  std::array<std::byte, w64ChunkHeaderBytes> header;
  if (position_ > source_.size() || source_.readAt(position_, header) != header.size()) return std::nullopt;
  ByteReader reader(header);
  const FourCC id = idOf(reader.record<Guid>());
  auto size = reader.little<uint64_t>();
  if (size < w64ChunkHeaderBytes) {
    if (id != FourCC("data")) return std::nullopt;
    size = source_.size() - position_;  // never filled in
  }
  Chunk chunk;
  chunk.id = id;
  chunk.body = position_ + w64ChunkHeaderBytes;
  chunk.size = size - w64ChunkHeaderBytes;
  chunk.bytes = std::min(chunk.size, source_.size() - chunk.body);
  const uint64_t end = chunk.body + chunk.bytes;
  position_ = end + (alignment - end % alignment) % alignment;
  return chunk;
}

W64ChunkScope::W64ChunkScope(ByteWriter& writer, FourCC id) : writer_(writer), start_(writer.position()) {
  writer.record(guidOf(id));
  writer.little<uint64_t>(0);
}

W64ChunkScope::~W64ChunkScope() {
  const uint64_t end = writer_.position();
  writer_.zeros(static_cast<std::size_t>((alignment - end % alignment) % alignment));
  writer_.patch(start_ + sizeof(Guid), LittleU64(end - start_));
}

}  // namespace tervo
