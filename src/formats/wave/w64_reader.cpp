#include "formats/wave/w64_reader.h"

#include "base/byte_reader.h"
#include "base/last_error.h"
#include "formats/wave/w64_chunks.h"
#include "formats/wave/w64_metadata.h"
#include "formats/wave/wav_contents.h"

namespace tervo {
namespace {

struct W64File : WavContents {
  using WavContents::WavContents;
  std::vector<NamedPoint> points;
};

bool isW64(std::span<const std::byte> head) {
  ByteReader reader(head);
  const auto riff = reader.record<Guid>();
  reader.skip(8);
  return riff == w64Riff && reader.record<Guid>() == w64Wave && reader.ok();
}

bool onFormat(W64File& w64, const Chunk& chunk) {
  if (!w64.readFormat(chunk)) return false;
  return w64.format->channels <= 2 || fail(u"Multi-channel is not support!");
}

bool onFact(W64File& w64, const Chunk& chunk) {
  const auto body = w64.load(chunk);
  ByteReader reader(body);
  w64.statedFrames = body.size() >= 8 ? reader.little<uint64_t>() : reader.little<uint32_t>();
  return true;
}

bool onData(W64File& w64, const Chunk& chunk) {
  w64.setData(chunk);
  return true;
}

bool onMarkers(W64File& w64, const Chunk& chunk) {
  const auto points = readW64Markers(w64.load(chunk));
  w64.points.insert(w64.points.end(), points.begin(), points.end());
  return true;
}

bool onSummary(W64File& w64, const Chunk& chunk) {
  readW64Summary(w64.load(chunk), w64.waveform->tags);
  w64.keepKnown(chunk);
  return true;
}

bool onUnknown(W64File& w64, const Chunk&) {
  w64.dropped(u"a chunk", u"its GUID is unknown");
  return true;
}

struct ChunkHandler {
  FourCC id;
  bool (*read)(W64File&, const Chunk&);
};

// clang-format off
constexpr ChunkHandler chunkHandlers[] = {
    {"fmt ",      onFormat},
    {"fact",      onFact},
    {"data",      onData},
    {"smpl",      [](W64File& w64, const Chunk& chunk) { return w64.readSamplerChunk(chunk); }},
    {"inst",      [](W64File& w64, const Chunk& chunk) { return w64.readInstrument(chunk); }},
    {"id3 ",      [](W64File& w64, const Chunk& chunk) { return w64.readId3Chunk(chunk); }},
    {w64Markers,  onMarkers},
    {w64Summary,  onSummary},
    {w64Unknown,  onUnknown},
};
// clang-format on

bool readChunk(W64File& w64, const Chunk& chunk) {
  for (const auto& handler : chunkHandlers) {
    if (handler.id == chunk.id) return handler.read(w64, chunk);
  }
  w64.keepForeign(chunk);
  return true;
}

}  // namespace

bool readW64(Collection& collection, const SourceFile& file, uint32_t) {
  if (!isW64(file.bytes->readUpTo(0, w64HeaderBytes, w64HeaderBytes))) return fail(u"Not a RIFF-WAVE file");
  W64File w64(file);
  W64Walker walker(*file.bytes);
  while (const auto chunk = walker.next()) {
    if (chunk->isTruncated() && chunk->id != FourCC("data")) {
      if (!w64.readTruncated(*chunk)) return false;
      break;
    }
    if (!readChunk(w64, *chunk)) return false;
  }
  addMarkers(*w64.waveform, w64.points, w64.hasSampler);
  return w64.finish(collection);
}

int detectW64(std::span<const std::byte> head, uint32_t, uint64_t) {
  return isW64(head) ? 6 : 0;
}

}  // namespace tervo
