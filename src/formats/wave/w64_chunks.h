#pragma once
// Chunks of Sony Wave64: named by GUIDs, with 64-bit sizes that include the 24-byte header, each on a multiple of 8
// bytes. Most GUIDs are the four characters of the RIFF chunk and a suffix that is the same for all.

#include <array>
#include <optional>

#include "base/byte_writer.h"
#include "formats/chunk_walker.h"

namespace tervo {

using Guid = std::array<uint8_t, 16>;

// {66666972-912E-11CF-A5D6-28DB04C10000}, {65766177-ACF3-11D3-8CD1-00C04F8EDB8A}
inline constexpr Guid w64Riff = {0x72, 0x69, 0x66, 0x66, 0x2E, 0x91, 0xCF, 0x11,
                                 0xA5, 0xD6, 0x28, 0xDB, 0x04, 0xC1, 0,    0};
inline constexpr Guid w64Wave = {0x77, 0x61, 0x76, 0x65, 0xF3, 0xAC, 0xD3, 0x11,
                                 0x8C, 0xD1, 0,    0xC0, 0x4F, 0x8E, 0xDB, 0x8A};

// How the two chunks whose GUIDs are not made of characters are called here, and all that are unknown.
inline constexpr FourCC w64Markers = "\x56\x62\xF7\xAB", w64Summary = "\xBC\x94\x5F\x92", w64Unknown = "????";

/// File header: "riff", the file's size, "wave".
inline constexpr uint64_t w64HeaderBytes = 40, w64ChunkHeaderBytes = 24;

Guid guidOf(FourCC id);
FourCC idOf(const Guid& guid);

/// Walks the chunks of a Wave64 file. Sizes are those of the body.
class W64Walker {
 public:
  explicit W64Walker(const ByteSource& source) : source_(source) {}
  std::optional<Chunk> next();

 private:
  const ByteSource& source_;
  uint64_t position_ = w64HeaderBytes;
};

/// Writes a chunk: header, body, zeros up to a multiple of 8. The size is patched when the scope ends.
class W64ChunkScope {
 public:
  W64ChunkScope(ByteWriter& writer, FourCC id);
  ~W64ChunkScope();
  W64ChunkScope(const W64ChunkScope&) = delete;
  W64ChunkScope& operator=(const W64ChunkScope&) = delete;

 private:
  ByteWriter& writer_;
  uint64_t start_;
};

}  // namespace tervo
