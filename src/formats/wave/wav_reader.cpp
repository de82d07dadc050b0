#include "formats/wave/wav_reader.h"

#include <unordered_set>

#include "base/byte_reader.h"
#include "base/last_error.h"
#include "formats/wave/id3_tags.h"
#include "formats/wave/info_tags.h"
#include "formats/wave/wav_chunks.h"
#include "formats/wave/wav_contents.h"
#include "formats/wave/wav_loops.h"
#include "formats/wave/wav_markers.h"

namespace tervo {
namespace {

constexpr uint32_t sizeIsElsewhere = 0xFFFFFFFF;
// Programs that write to a pipe leave something like this where they cannot know the size.
constexpr uint64_t leastPipeSize = 0x7FFFF000;
constexpr std::size_t id3Limit = 64u << 20;  // pictures
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
  bool hasSampler = false;
  std::unordered_set<uint32_t> loopCueIds;
  std::vector<Chunk> id3;

  void keep(FourCC container, const Chunk& chunk) {
    if (!keepChunk(*waveform, container, chunk, file.bytes, !data))
      dropped(textOf(chunk.id) + u" chunk", u"too many chunks");
  }
};

bool onFormat(WavFile& wav, const Chunk& chunk) {
  return wav.readFormat(chunk);
}

bool onFact(WavFile& wav, const Chunk& chunk) {
  wav.statedFrames = ByteReader(loadChunk(wav.bytes(), chunk)).little<uint32_t>();
  if (wav.statedFrames == sizeIsElsewhere && wav.sizes) wav.statedFrames = wav.sizes->samples;
  return true;
}

bool onSizes64(WavFile& wav, const Chunk& chunk) {
  const auto body = loadChunk(wav.bytes(), chunk);
  ByteReader reader(body);
  const auto sizes = reader.record<Sizes64>();
  if (!reader.ok()) return true;
  wav.sizes = sizes;
  if (wav.header.size == sizeIsElsewhere && sizes.riff > 0) wav.walker.setDeclaredEnd(sizes.riff + 8);
  return true;
}

// Where the size was never filled in, the samples reach to the end of the file.
bool sizeIsMissing(const WavFile& wav, const Chunk& data) {
  if (data.size == sizeIsElsewhere) return true;
  return data.size == 0 && wav.header.size <= data.body && !wav.walker.looksLikeChunk(data.body);
}

bool onData(WavFile& wav, const Chunk& found) {
  Chunk data = found;
  if (wav.data) {
    wav.dropped(u"data chunk", u"the file has another one");
    return true;
  }
  const uint64_t rest = wav.bytes().size() - data.body;
  if (sizeIsMissing(wav, data)) {
    const bool isStated = wav.sizes && data.size == sizeIsElsewhere && wav.sizes->data > 0;
    wav.walker.resize(data, isStated ? uint64_t{wav.sizes->data} : rest);
  }
  if (data.isTruncated() && data.size < leastPipeSize) {
    wav.file.report.approximated(wav.waveform->name, u"sample data", fromUtf8(std::to_string(data.size) + " bytes"),
                                 fromUtf8(std::to_string(data.bytes) + " bytes, where the file ends"));
  }
  wav.data = data;
  return true;
}

bool onSampler(WavFile& wav, const Chunk& chunk) {
  if (wav.hasSampler) {
    wav.dropped(u"smpl chunk", u"the file has another one");
    return true;
  }
  const auto sampler = readSampler(loadChunk(wav.bytes(), chunk));
  if (!sampler) {
    wav.dropped(u"smpl chunk", u"too short");
    return true;
  }
  wav.hasSampler = true;
  apply(*sampler, *wav.waveform);
  wav.loopCueIds.insert(sampler->cueIds.begin(), sampler->cueIds.end());
  wav.keep(knownContainer, chunk);
  return true;
}

bool onInstrument(WavFile& wav, const Chunk& chunk) {
  if (const auto instrument = readInstrumentChunk(loadChunk(wav.bytes(), chunk))) apply(*instrument, *wav.waveform);
  wav.keep(knownContainer, chunk);
  return true;
}

bool onDlsSample(WavFile& wav, const Chunk& chunk) {
  if (!readDlsSample(loadChunk(wav.bytes(), chunk), *wav.waveform)) wav.dropped(u"wsmp chunk", u"too short");
  return true;
}

bool onCues(WavFile& wav, const Chunk& chunk) {
  wav.cues.readCues(loadChunk(wav.bytes(), chunk));
  wav.keep(knownContainer, chunk);
  return true;
}

bool onList(WavFile& wav, const Chunk& chunk) {
  const FourCC type = listType(wav.bytes(), chunk);
  if (type == FourCC("INFO")) {
    readInfoTags(wav.bytes(), chunk, wav.waveform->tags);
  } else if (type == FourCC("adtl")) {
    wav.cues.readLabels(wav.bytes(), chunk);
  } else {
    wav.keep(foreignContainer, chunk);
    return true;
  }
  wav.keep(knownContainer, chunk);
  return true;
}

bool onId3(WavFile& wav, const Chunk& chunk) {
  wav.keep(knownContainer, chunk);
  wav.id3.push_back(chunk);
  return true;
}

bool onForeign(WavFile& wav, const Chunk& chunk) {
  if (!isFiller(chunk.id)) wav.keep(foreignContainer, chunk);
  return true;
}

struct ChunkHandler {
  FourCC id;
  bool (*read)(WavFile&, const Chunk&);
};

// clang-format off
constexpr ChunkHandler chunkHandlers[] = {
    {"fmt ", onFormat},
    {"fact", onFact},
    {"ds64", onSizes64},
    {"data", onData},
    {"smpl", onSampler},
    {"inst", onInstrument},
    {"wsmp", onDlsSample},
    {"cue ", onCues},
    {"LIST", onList},
    {"ID3 ", onId3},
    {"id3 ", onId3},
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
      if (!wav.format || !wav.data) return fail(u"Reading from file failed");
      wav.dropped(textOf(chunk->id) + u" chunk", u"Reading from file failed");
      return true;
    }
    if (!readChunk(wav, *chunk)) return false;
  }
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
  if (header.size != sizeIsElsewhere) wav.walker.setDeclaredEnd(uint64_t{header.size} + 8);
  if (!readChunks(wav)) return false;
  if (wav.cues.ignoredPoints() > 0) wav.dropped(u"cue points", u"they do not refer to the sample data");
  wav.cues.addMarkers(*wav.waveform, wav.loopCueIds, wav.hasSampler);
  // Last, because its texts say how they are encoded.
  for (const auto& chunk : wav.id3) readId3(loadChunk(wav.bytes(), chunk, id3Limit), wav.waveform->tags);
  return wav.finish(collection);
}

}  // namespace tervo
