#include "formats/midi/midi_chunks.h"

#include <algorithm>
#include <string_view>

#include "base/byte_reader.h"

namespace tervo {
namespace {

constexpr std::size_t headerBytes = 8;

bool isMidi(FourCC id) {
  return id == FourCC("MThd") || id == FourCC("MTrk");
}

}  // namespace

MidiChunks::MidiChunks(const ByteSource& source, uint64_t begin, uint64_t end)
    : source_(source), position_(begin), end_(std::min(end, source.size())) {}

std::optional<Chunk> MidiChunks::chunkAt(uint64_t offset) const {
  const auto header = source_.readUpTo(offset, end_ - offset, headerBytes);
  ByteReader reader(header);
  Chunk chunk;
  chunk.id = reader.fourCC();
  chunk.size = reader.big<uint32_t>();
  if (!reader.ok()) return std::nullopt;
  chunk.body = offset + headerBytes;
  chunk.bytes = std::min(chunk.size, end_ - chunk.body);
  if (isMidi(chunk.id) || (isPrintable(chunk.id) && !chunk.isTruncated())) return chunk;
  return std::nullopt;
}

uint64_t MidiChunks::findMidi(uint64_t offset) const {
  constexpr std::size_t mostBytes = 64 * 1024, overlap = 3;
  // Few at first: what is looked for is mostly near.
  for (std::size_t blockBytes = 256; offset < end_; blockBytes = std::min(2 * blockBytes, mostBytes)) {
    const auto block = source_.readUpTo(offset, end_ - offset, blockBytes);
    const std::string_view text(reinterpret_cast<const char*>(block.data()), block.size());
    const std::size_t found = std::min(text.find("MThd"), text.find("MTrk"));
    if (found != std::string_view::npos) return offset + found;
    if (block.size() <= overlap) return end_;
    offset += block.size() - overlap;
  }
  return end_;
}

std::optional<Chunk> MidiChunks::next() {
  while (position_ < end_) {
    if (const auto chunk = chunkAt(position_)) {
      position_ = chunk->body + chunk->bytes;
      return chunk;
    }
    const uint64_t found = findMidi(position_ + 1);
    strayBytes_ += found - position_;
    position_ = found;
  }
  return std::nullopt;
}

}  // namespace tervo
