#include "formats/chunk_walker.h"

#include <algorithm>

#include "base/byte_reader.h"

namespace tervo {
namespace {

constexpr uint64_t headerBytes = 8;

}  // namespace

ChunkWalker::ChunkWalker(const ByteSource& source, uint64_t begin, uint64_t end, ByteOrder order)
    : source_(source), position_(begin), end_(std::min(end, source.size())), declaredEnd_(end_), order_(order) {}

std::optional<Chunk> ChunkWalker::headerAt(uint64_t offset) const {
  std::array<std::byte, headerBytes> header;
  if (offset > end_ || end_ - offset < headerBytes || source_.readAt(offset, header) != headerBytes)
    return std::nullopt;
  ByteReader reader(header);
  Chunk chunk;
  chunk.id = reader.fourCC();
  chunk.size = order_ == ByteOrder::little ? reader.little<uint32_t>() : reader.big<uint32_t>();
  chunk.body = offset + headerBytes;
  chunk.bytes = std::min(chunk.size, end_ - chunk.body);
  return chunk;
}

bool ChunkWalker::looksLikeChunk(uint64_t offset) const {
  const auto chunk = headerAt(offset);
  return chunk && isPrintable(chunk->id) && !chunk->isTruncated();
}

bool ChunkWalker::leadsOn(uint64_t offset) const {
  if (!looksLikeChunk(offset)) return false;
  const auto chunk = headerAt(offset);
  const uint64_t end = chunk->body + chunk->bytes;
  return end + 1 >= end_ || looksLikeChunk(end) || looksLikeChunk(end + 1);
}

uint64_t ChunkWalker::endOf(const Chunk& chunk) const {
  const uint64_t end = chunk.body + chunk.bytes;
  if (chunk.bytes % 2 == 0 || chunk.isTruncated()) return end;
  // Some writers forget the pad byte, and some do not write a zero: look where the chunks go on.
  std::byte pad{};
  source_.readAt(end, std::span(&pad, 1));
  if (pad == std::byte{0}) return end + 1;
  const bool padded = leadsOn(end + 1), padless = leadsOn(end);
  if (padded != padless) return padded ? end + 1 : end;
  return looksLikeChunk(end) && !looksLikeChunk(end + 1) ? end : end + 1;
}

std::optional<Chunk> ChunkWalker::next() {
  if (!first_) position_ = endOf(last_);
  const auto chunk = headerAt(position_);
  if (!chunk || !isPrintable(chunk->id)) return std::nullopt;
  if (!first_ && position_ >= declaredEnd_) {
    // Another file, or the tag of some other format, may have been appended.
    if (chunk->isTruncated() || chunk->id == FourCC("RIFF") || chunk->id == FourCC("FORM")) return std::nullopt;
  }
  first_ = false;
  last_ = *chunk;
  return chunk;
}

uint64_t ChunkWalker::strayBytes() const {
  constexpr std::size_t lookedAt = 64 * 1024;
  const uint64_t begin = std::min(position_, end_);
  const auto rest = source_.readUpTo(begin, end_ - begin, lookedAt);
  const bool onlyFills = std::all_of(rest.begin(), rest.end(), [](std::byte byte) { return byte == std::byte{0}; });
  return onlyFills ? 0 : end_ - begin;
}

void ChunkWalker::resize(Chunk& chunk, uint64_t size) {
  chunk.size = size;
  chunk.bytes = std::min(size, end_ - chunk.body);
  last_ = chunk;
}

std::vector<std::byte> loadChunk(const ByteSource& source, const Chunk& chunk, std::size_t limit) {
  if (chunk.bytes > limit) return {};
  return source.readUpTo(chunk.body, chunk.bytes, limit);
}

}  // namespace tervo
