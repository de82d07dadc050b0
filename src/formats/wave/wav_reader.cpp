#include "formats/wave/wav_reader.h"

#include "base/byte_reader.h"
#include "base/last_error.h"
#include "formats/wave/info_tags.h"
#include "formats/wave/kept_chunks.h"
#include "formats/wave/wav_contents.h"
#include "formats/wave/wav_loops.h"
#include "formats/wave/wav_markers.h"

namespace tervo {
namespace {

constexpr uint32_t sizeIsElsewhere = 0xFFFFFFFF;
constexpr uint64_t formHeaderBytes = 12;

struct FormHeader {
  FourCC form;
  LittleU32 size;
  FourCC type;
};
static_assert(sizeof(FormHeader) == formHeaderBytes);

// EBU Tech 3306.
struct Sizes64 {
  LittleU64 riff, data, samples;
  LittleU32 tableLength;
};
static_assert(sizeof(Sizes64) == 28);

struct WavFile : WavContents {
  WavFile(const SourceFile& source, const FormHeader& form)
      : WavContents(source), header(form), walker(*source.bytes, formHeaderBytes, source.bytes->size()) {}

  FormHeader header;
  ChunkWalker walker;
  std::optional<Sizes64> sizes;
  CueList cues;
};

// A size without room for a single chunk was never filled in.
void setDeclaredSize(WavFile& wav, uint64_t size) {
  if (size > formHeaderBytes && size != sizeIsElsewhere) wav.walker.setDeclaredEnd(size + 8);
}

bool onFact(WavFile& wav, const Chunk& chunk) {
  wav.statedFrames = ByteReader(wav.load(chunk)).little<uint32_t>();
  if (wav.statedFrames == sizeIsElsewhere && wav.sizes) wav.statedFrames = wav.sizes->samples;
  return true;
}

bool onSizes64(WavFile& wav, const Chunk& chunk) {
  const auto body = wav.load(chunk);
  ByteReader reader(body);
  const auto sizes = reader.record<Sizes64>();
  if (!reader.ok()) return true;
  wav.sizes = sizes;
  if (wav.header.size == sizeIsElsewhere) setDeclaredSize(wav, sizes.riff);
  return true;
}

// Where the size was never filled in, the samples reach to the end of the file.
bool sizeIsMissing(const WavFile& wav, const Chunk& data) {
  if (data.size == sizeIsElsewhere) return true;
  return data.size == 0 && wav.header.size <= data.body && !wav.walker.looksLikeChunk(data.body);
}

bool onData(WavFile& wav, const Chunk& found) {
  Chunk data = found;
  if (!wav.data && sizeIsMissing(wav, data)) {
    const bool isStated = wav.sizes && data.size == sizeIsElsewhere && wav.sizes->data > 0;
    wav.walker.resize(data, isStated ? uint64_t{wav.sizes->data} : wav.bytes().size() - data.body);
  }
  wav.setData(data);
  return true;
}

bool onDlsSample(WavFile& wav, const Chunk& chunk) {
  if (!readDlsSample(wav.load(chunk), *wav.waveform)) wav.dropped(u"wsmp chunk", u"too short");
  return true;
}

bool onCues(WavFile& wav, const Chunk& chunk) {
  wav.cues.readCues(wav.load(chunk));
  wav.keepKnown(chunk);
  return true;
}

bool onList(WavFile& wav, const Chunk& chunk) {
  const FourCC type = listType(wav.bytes(), chunk);
  if (type == FourCC("INFO")) {
    readInfoTags(wav.bytes(), chunk, wav.waveform->tags);
  } else if (type == FourCC("adtl")) {
    wav.cues.readLabels(wav.bytes(), chunk);
  } else {
    wav.keepForeign(chunk);
    return true;
  }
  wav.keepKnown(chunk);
  return true;
}

bool onForeign(WavFile& wav, const Chunk& chunk) {
  wav.keepForeign(chunk);
  return true;
}

struct ChunkHandler {
  FourCC id;
  bool (*read)(WavFile&, const Chunk&);
};

// clang-format off
constexpr ChunkHandler chunkHandlers[] = {
    {"fmt ", [](WavFile& wav, const Chunk& chunk) { return wav.readFormat(chunk); }},
    {"fact", onFact},
    {"ds64", onSizes64},
    {"data", onData},
    {"smpl", [](WavFile& wav, const Chunk& chunk) { return wav.readSamplerChunk(chunk); }},
    {"inst", [](WavFile& wav, const Chunk& chunk) { return wav.readInstrument(chunk); }},
    {"wsmp", onDlsSample},
    {"cue ", onCues},
    {"LIST", onList},
    {"ID3 ", [](WavFile& wav, const Chunk& chunk) { return wav.readId3Chunk(chunk); }},
    {"id3 ", [](WavFile& wav, const Chunk& chunk) { return wav.readId3Chunk(chunk); }},
};
// clang-format on

bool readChunk(WavFile& wav, const Chunk& chunk) {
  for (const auto& handler : chunkHandlers) {
    if (handler.id == chunk.id) return handler.read(wav, chunk);
  }
  return onForeign(wav, chunk);
}

bool readChunks(WavFile& wav) {
  while (const auto chunk = wav.walker.next()) {
    if (chunk->isTruncated() && chunk->id != FourCC("data")) {
      return wav.readTruncated(*chunk);
    }
    if (!readChunk(wav, *chunk)) return false;
  }
  wav.reportStrayBytes(wav.walker);
  return true;
}

bool isWaveForm(const FormHeader& header) {
  const bool isRiff = header.form == FourCC("RIFF") || header.form == FourCC("RF64") || header.form == FourCC("SDSS");
  return (isRiff && header.type == FourCC("WAVE")) || (header.form == FourCC("LIST") && header.type == FourCC("wave"));
}

}  // namespace

bool readWav(Collection& collection, const SourceFile& file, uint32_t) {
  std::array<std::byte, formHeaderBytes> head{};
  file.bytes->readAt(0, head);
  const auto header = ByteReader(head).record<FormHeader>();
  if (!isWaveForm(header)) return fail(u"Not a RIFF-WAVE file");

  WavFile wav(file, header);
  setDeclaredSize(wav, header.size);
  if (!readChunks(wav)) return false;
  if (wav.cues.ignoredPoints() > 0) wav.dropped(u"cue points", u"they do not refer to the sample data");
  wav.cues.addMarkers(*wav.waveform, wav.loopCueIds, wav.hasSampler);
  return wav.finish(collection);
}

}  // namespace tervo
