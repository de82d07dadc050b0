#include <algorithm>

#include "base/byte_reader.h"
#include "formats/wave/wav_reader.h"

namespace tervo {
namespace {

constexpr std::size_t formHeaderBytes = 12;

bool isWave(std::span<const std::byte> head) {
  ByteReader reader(head);
  const FourCC form = reader.fourCC();
  reader.skip(4);
  const FourCC type = reader.fourCC();
  return reader.ok() && (form == FourCC("RIFF") || form == FourCC("RF64")) && type == FourCC("WAVE");
}

bool hasBroadcastChunk(std::span<const std::byte> head) {
  ByteReader reader(head.subspan(formHeaderBytes));
  for (int chunk = 0; chunk < 4 && reader.remaining() >= 8; ++chunk) {
    const FourCC id = reader.fourCC();
    const std::size_t size = reader.little<uint32_t>();
    if (id == FourCC("bext")) return true;
    if (id == FourCC("data")) return false;
    reader.skip(std::min(size + size % 2, reader.remaining()));
  }
  return false;
}

}  // namespace

int detectWav(std::span<const std::byte> head, uint32_t, uint64_t) {
  return isWave(head) ? 6 : 0;
}

int detectBroadcastWav(std::span<const std::byte> head, uint32_t, uint64_t) {
  if (!isWave(head)) return 0;
  return hasBroadcastChunk(head) ? 6 : 2;
}

int detectCompressedGigaWav(std::span<const std::byte> head, uint32_t, uint64_t) {
  const bool tagIs768 = head.size() > 21 && head[20] == std::byte{0} && head[21] == std::byte{3};
  return isWave(head) && tagIs768 ? 6 : 0;
}

}  // namespace tervo
