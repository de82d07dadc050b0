#pragma once
// Walks the chunks of a RIFF- or IFF-like file: four characters, a 32-bit size, the body, a pad byte after an odd one.
// It takes such files as they are in the wild: a form size that is wrong, 0 or 0xFFFFFFFF because the writer could not
// seek back, a pad byte that was forgotten, a last chunk that is cut off. Offsets only ever grow, so that no file can
// make it turn in circles, and nothing is loaded that is not there.

#include <cstdint>
#include <optional>
#include <vector>

#include "base/byte_source.h"
#include "base/endian.h"

namespace tervo {

struct Chunk {
  FourCC id;
  uint64_t body = 0;   ///< offset of the body in the source
  uint64_t size = 0;   ///< of the body, as the header says
  uint64_t bytes = 0;  ///< of the body, as far as they are there

  bool isTruncated() const { return bytes < size; }
};

class ChunkWalker {
 public:
  /// Walks [begin, end) of the source, cut to the source's size.
  ChunkWalker(const ByteSource& source, uint64_t begin, uint64_t end, ByteOrder order = ByteOrder::little);

  /// What a form's header says about its end. Chunks behind it are still walked when they look like chunks and stand
  /// there whole: the size may be the part of the file that is wrong.
  void setDeclaredEnd(uint64_t offset) { declaredEnd_ = offset; }

  /// The next chunk; nothing at the end, or where no chunk can begin.
  std::optional<Chunk> next();

  /// Gives the chunk that next() returned last another size: for containers that say large sizes elsewhere.
  void resize(Chunk& chunk, uint64_t size);

  /// Once the walk has ended: the bytes behind it that are no chunks of this form; 0 where they are only zeros.
  uint64_t strayBytes() const;

  /// Whether a chunk could begin at `offset`: a printable name and a size that fits.
  bool looksLikeChunk(uint64_t offset) const;

 private:
  std::optional<Chunk> headerAt(uint64_t offset) const;
  /// Whether a chunk could begin at `offset` and another one, or the end, behind it.
  bool leadsOn(uint64_t offset) const;
  uint64_t endOf(const Chunk& chunk) const;

  const ByteSource& source_;
  uint64_t position_;
  uint64_t end_;
  uint64_t declaredEnd_;
  ByteOrder order_;
  bool first_ = true;
  Chunk last_;
};

/// The body as far as it is there; empty when it is longer than `limit`.
std::vector<std::byte> loadChunk(const ByteSource& source, const Chunk& chunk, std::size_t limit = 16u << 20);

}  // namespace tervo
