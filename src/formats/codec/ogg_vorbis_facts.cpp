#include <algorithm>
#include <array>
#include <cstring>

#include "base/byte_reader.h"
#include "formats/codec/ogg_vorbis.h"

namespace tervo {
namespace {

/// The header of an Ogg page (RFC 3533, section 6) without its segment table.
struct OggPage {
  FourCC capture;
  uint8_t version, flags;
  LittleU64 granule;  ///< frames up to the end of the last packet that ends in the page; all ones when none does
  LittleU32 serial, number, checksum;
  uint8_t segments;
};
static_assert(sizeof(OggPage) == 27);
constexpr uint8_t firstPage = 2, lastPage = 4;
constexpr std::size_t largestPage = sizeof(OggPage) + 255 + 255 * 255;

/// The identification header (Vorbis I, section 4.2.2).
struct Identification {
  uint8_t type;
  std::array<char, 6> vorbis;
  LittleU32 version;
  uint8_t channels;
  LittleU32 sampleRate, mostBits, nominalBits, leastBits;
  uint8_t blockSizes;  ///< powers of two: the shorter in the low half, the longer in the high half
  uint8_t framing;
};
static_assert(sizeof(Identification) == 30);

bool isPage(const OggPage& page) {
  return page.capture == FourCC("OggS") && page.version == 0;
}

struct StreamStart {
  uint32_t serial;
  Identification identification;
};

std::optional<StreamStart> readStart(const StoredSamples& stored) {
  const auto head = stored.source->readUpTo(stored.offset, stored.bytes, sizeof(OggPage) + 1 + sizeof(Identification));
  ByteReader reader(head);
  const auto page = reader.record<OggPage>();
  reader.skip(page.segments);
  const auto identification = reader.record<Identification>();
  const bool isVorbis = isPage(page) && (page.flags & firstPage) && page.segments == 1 && identification.type == 1 &&
                        std::memcmp(identification.vorbis.data(), "vorbis", 6) == 0 && identification.version == 0u;
  if (!reader.ok() || !isVorbis) return std::nullopt;
  return StreamStart{page.serial, identification};
}

/// The last whole page of the stream within its last `bytes` bytes that says a position.
std::optional<OggPage> lastPageIn(const StoredSamples& stored, uint32_t serial, uint64_t bytes) {
  bytes = std::min(bytes, stored.bytes);
  const auto tail = stored.source->readUpTo(stored.offset + stored.bytes - bytes, bytes, largestPage * 2);
  const std::string_view chars(reinterpret_cast<const char*>(tail.data()), tail.size());
  for (std::size_t at = chars.size(); at > 0;) {
    at = chars.rfind("OggS", at - 1);
    if (at == std::string_view::npos) return std::nullopt;
    ByteReader reader(std::span<const std::byte>(tail).subspan(at));
    const auto page = reader.record<OggPage>();
    std::size_t body = 0;
    for (const std::byte length : reader.take(page.segments)) body += std::to_integer<std::size_t>(length);
    reader.skip(body);
    const bool saysPosition = page.granule != ~uint64_t{0};
    if (reader.ok() && isPage(page) && page.serial == serial && saysPosition) return page;
  }
  return std::nullopt;
}

}  // namespace

std::optional<StreamFacts> vorbisFacts(const StoredSamples& stored) {
  const auto start = readStart(stored);
  if (!start) return std::nullopt;
  const Identification& id = start->identification;
  // Most encoders make pages of 4 KiB.
  auto last = lastPageIn(stored, start->serial, 8192);
  if (!last) last = lastPageIn(stored, start->serial, largestPage * 2);
  // A packet, of which each takes at least a byte of the page's table, gives at most half a long block.
  const uint64_t longBlock = uint64_t{1} << std::min(id.blockSizes >> 4, 13);
  const uint64_t frames = last ? uint64_t{last->granule} : 0;
  const bool isCutOff = last && (last->flags & lastPage) == 0;
  const bool isSound = id.channels > 0 && id.sampleRate > 0u && last && frames <= stored.bytes * (longBlock / 2) &&
                       (frames > 0 || !isCutOff);
  if (!isSound) return std::nullopt;
  const auto rate = static_cast<double>(uint32_t{id.sampleRate});
  return StreamFacts{oggVorbisName, id.channels, rate, 0, static_cast<int64_t>(frames), isCutOff};
}

}  // namespace tervo
