#include "formats/wave/kept_chunks.h"

#include <algorithm>

namespace tervo {
namespace {

constexpr FourCC fillers[] = {"JUNK", "junk", "PAD ", "FLLR", "fllr", "filr", "_pad"};
// Peak values, an envelope of peaks (EBU Tech 3285 supplement 3), a checksum, where the coding can be entered (AIFF-C).
constexpr FourCC sampleDescriptions[] = {"PEAK", "levl", "MD5 ", "SAXL"};

bool holdsKnown(FourCC container) {
  return container == riffChunks.known || container == aiffChunks.known || container == maudChunks.known;
}

}  // namespace

bool keepChunk(Waveform& waveform, FourCC container, const Chunk& chunk, std::shared_ptr<const ByteSource> source,
               bool beforeSamples) {
  if (waveform.foreignChunks.size() >= maxKeptChunks) return false;
  waveform.foreignChunks.push_back({container, chunk.id, beforeSamples, std::move(source), chunk.body, chunk.bytes});
  return true;
}

std::vector<const ForeignChunk*> knownChunks(const Waveform& waveform, const ChunkContainers& containers, FourCC id,
                                             FourCC list) {
  std::vector<const ForeignChunk*> found;
  for (const auto& kept : waveform.foreignChunks) {
    if (kept.container != containers.known || kept.id != id) continue;
    if (list == FourCC() || listType(*kept.source, asChunk(kept)) == list) found.push_back(&kept);
  }
  return found;
}

const ForeignChunk* knownChunk(const Waveform& waveform, const ChunkContainers& containers, FourCC id) {
  const auto chunks = knownChunks(waveform, containers, id);
  return chunks.empty() ? nullptr : chunks.front();
}

std::vector<const ForeignChunk*> foreignChunks(const Waveform& waveform, const ChunkContainers& containers,
                                               bool beforeSamples, bool samplesAreSame, ConversionReport& report) {
  std::vector<const ForeignChunk*> chunks;
  for (const auto& kept : waveform.foreignChunks) {
    if (holdsKnown(kept.container) || kept.beforeSamples != beforeSamples) continue;
    if (kept.container != containers.foreign) {
      report.dropped(waveform.name, textOf(kept.id) + u" chunk", u"it belongs to another kind of file");
    } else if (describesSamples(kept.id) && !samplesAreSame) {
      report.dropped(waveform.name, textOf(kept.id) + u" chunk", u"the samples have changed");
    } else {
      chunks.push_back(&kept);
    }
  }
  return chunks;
}

Chunk asChunk(const ForeignChunk& kept) {
  return {kept.id, kept.offset, kept.bytes, kept.bytes};
}

std::vector<std::byte> bodyOf(const ForeignChunk& kept) {
  return loadChunk(*kept.source, asChunk(kept));
}

Text textOf(FourCC id) {
  return fromFileText({id.chars.data(), id.chars.size()});
}

FourCC listType(const ByteSource& source, const Chunk& chunk) {
  FourCC type;
  if (chunk.bytes >= sizeof type) source.readAt(chunk.body, std::as_writable_bytes(std::span(type.chars)));
  return type;
}

bool isFiller(FourCC id) {
  return std::find(std::begin(fillers), std::end(fillers), id) != std::end(fillers);
}

bool describesSamples(FourCC id) {
  return std::find(std::begin(sampleDescriptions), std::end(sampleDescriptions), id) != std::end(sampleDescriptions);
}

}  // namespace tervo
