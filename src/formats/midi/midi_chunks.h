#pragma once
// The chunks of a Standard MIDI File: four characters, a big-endian 32-bit length, the body, never a pad byte. Files in
// the wild have other bytes before, between and behind them; the walk finds its way to the next header or track.

#include <optional>

#include "formats/chunk_walker.h"

namespace tervo {

class MidiChunks {
 public:
  /// Walks [begin, end) of the source, cut to the source's size.
  MidiChunks(const ByteSource& source, uint64_t begin, uint64_t end);

  /// The next chunk. A header or a track may be cut off, other chunks are there whole.
  std::optional<Chunk> next();
  /// Lets the walk go on behind the first `bytes` of the chunk that next() returned last.
  void endAfter(const Chunk& chunk, uint64_t bytes) { position_ = chunk.body + bytes; }

  /// Bytes that belong to no chunk, so far: before the first, between two, and once the walk has ended behind the last.
  uint64_t strayBytes() const { return strayBytes_; }

 private:
  std::optional<Chunk> chunkAt(uint64_t offset) const;
  /// Where "MThd" or "MTrk" stands next; the end when they do not.
  uint64_t findMidi(uint64_t offset) const;

  const ByteSource& source_;
  uint64_t position_;
  uint64_t end_;
  uint64_t strayBytes_ = 0;
};

}  // namespace tervo
