#include "formats/wave/aiff_reader.h"

#include <algorithm>

#include "base/byte_reader.h"
#include "base/last_error.h"
#include "formats/number_text.h"
#include "formats/wave/aiff_markers.h"
#include "formats/wave/aiff_samples.h"
#include "formats/wave/aiff_texts.h"
#include "formats/wave/file_contents.h"

namespace tervo {
namespace {

constexpr FourCC aiff = "AIFF", aifc = "AIFC", maud = "MAUD", ssnd = "SSND", mdat = "MDAT";

struct FormHeader {
  FourCC form;
  BigU32 size;
  FourCC type;
};
static_assert(sizeof(FormHeader) == 12);

constexpr uint64_t soundHeaderBytes = 8;  // of "SSND": offset and block size
constexpr uint32_t sizeIsUnknown = 0xFFFFFFFF;

struct AiffFile : FileContents {
  AiffFile(const SourceFile& source, const FormHeader& form)
      : FileContents(source, form.type == maud ? maudChunks : aiffChunks),
        header(form),
        walker(*source.bytes, sizeof(FormHeader), source.bytes->size(), ByteOrder::big) {}

  FormHeader header;
  ChunkWalker walker;
  std::optional<AiffFormat> format;
  std::optional<std::vector<AiffMarker>> markers;
  std::optional<AiffInstrument> instrument;
};

bool leaveOut(const AiffFile& file, const Chunk& chunk, TextView why) {
  file.dropped(textOf(chunk.id) + u" chunk", why);
  return true;
}

bool onCommon(AiffFile& file, const Chunk& chunk) {
  if (file.format) return leaveOut(file, chunk, u"the file has another one");
  const auto form = file.header.type == aifc ? AiffForm::compressed : AiffForm::plain;
  file.format = readCommon(file.load(chunk), form);
  return file.format.has_value();
}

bool onMaudHeader(AiffFile& file, const Chunk& chunk) {
  if (file.format) return leaveOut(file, chunk, u"the file has another one");
  file.format = readMaudHeader(file.load(chunk));
  return file.format.has_value();
}

// A program that writes to a pipe cannot fill in the sizes; its samples reach to the end of the file.
bool sizeIsMissing(const AiffFile& file, const Chunk& data) {
  if (data.size == sizeIsUnknown) return true;
  const bool saysNothing = data.size == 0 || (data.id == ssnd && data.size == soundHeaderBytes);
  return saysNothing && file.header.size <= data.body && !file.walker.looksLikeChunk(data.body + data.size);
}

bool onData(AiffFile& file, const Chunk& found) {
  Chunk data = found;
  if (!file.data && sizeIsMissing(file, data)) file.walker.resize(data, file.bytes().size() - data.body);
  if (data.id == ssnd && data.bytes < soundHeaderBytes) return leaveOut(file, data, u"too short");
  file.setData(data);
  return true;
}

bool onMarkers(AiffFile& file, const Chunk& chunk) {
  if (file.markers) return leaveOut(file, chunk, u"the file has another one");
  const auto body = file.load(chunk);
  file.markers = readAiffMarkers(body);
  if (const std::size_t stated = ByteReader(body).big<uint16_t>(); stated > file.markers->size())
    file.approximated(u"markers", countText(stated), countText(file.markers->size()) + u", which are there");
  file.keepKnown(chunk);
  return true;
}

bool onInstrument(AiffFile& file, const Chunk& chunk) {
  if (file.instrument) return leaveOut(file, chunk, u"the file has another one");
  file.instrument = readAiffInstrument(file.load(chunk));
  if (!file.instrument) return leaveOut(file, chunk, u"too short");
  file.keepKnown(chunk);
  return true;
}

bool onText(AiffFile& file, const Chunk& chunk) {
  const auto body = file.load(chunk);
  const Text text = fromFileText({reinterpret_cast<const char*>(body.data()), body.size()});
  if (!addAiffText(file.waveform->tags, *aiffTagOf(chunk.id), text))
    file.dropped(textOf(chunk.id) + u" chunk: " + text, u"the file has another one");
  return true;
}

bool onForeign(AiffFile& file, const Chunk& chunk) {
  // "FVER" only says which AIFF-C this is.
  if (chunk.id != FourCC("FVER")) file.keepForeign(chunk);
  return true;
}

struct ChunkHandler {
  FourCC id;
  bool (*read)(AiffFile&, const Chunk&);
};

// clang-format off
constexpr ChunkHandler chunkHandlers[] = {
    {"COMM", onCommon},
    {"MHDR", onMaudHeader},
    {ssnd,   onData},
    {mdat,   onData},
    {"MARK", onMarkers},
    {"INST", onInstrument},
    {"NAME", onText},
    {"AUTH", onText},
    {"ANNO", onText},
    {"(c) ", onText},
    {"ID3 ", [](AiffFile& file, const Chunk& chunk) { return file.readId3Chunk(chunk); }},
};
// clang-format on

bool readChunk(AiffFile& file, const Chunk& chunk) {
  if (chunk.isTruncated() && chunk.id != ssnd && chunk.id != mdat) {
    if (!file.format || !file.data) return fail(u"Reading from file failed");
    return leaveOut(file, chunk, u"Reading from file failed");
  }
  for (const auto& handler : chunkHandlers) {
    if (handler.id == chunk.id) return handler.read(file, chunk);
  }
  return onForeign(file, chunk);
}

// The samples begin so many bytes behind the header of "SSND", for programs that align them.
AiffData locateSamples(const AiffFile& file) {
  AiffData data{file.file.bytes, file.data->body, file.data->bytes};
  if (file.data->id == mdat) return data;
  std::array<std::byte, soundHeaderBytes> header{};
  file.bytes().readAt(data.offset, header);
  const uint64_t skipped = std::min(soundHeaderBytes + ByteReader(header).big<uint32_t>(), data.bytes);
  return {data.source, data.offset + skipped, data.bytes - skipped};
}

// Some programs store a wrong count in "MHDR", so that only a byte that fills the chunk up may be left out.
void settleMaudFrames(AiffFormat& format, uint64_t bytes) {
  const uint64_t held = plainFrames(format, bytes);
  if (format.frames + 1 != held) format.frames = held;
}

void reportFrames(const AiffFile& file, uint64_t stated, uint64_t held) {
  const auto frames = static_cast<uint64_t>(file.waveform->frames());
  if (stated > frames)
    file.approximated(u"frames", countText(stated), countText(frames) + u", which are there");
  else if (stated == 0)
    file.approximated(u"frames", u"0", countText(frames) + u", which are there");
  else if (held > frames)
    file.approximated(u"frames", countText(held), countText(frames) + u", as stated");
}

bool openSamples(AiffFile& file) {
  AiffFormat& format = *file.format;
  const AiffData data = locateSamples(file);
  if (file.header.type == maud) settleMaudFrames(format, data.bytes);
  const auto opened = openAiffSamples(format, data);
  if (!opened.samples) return false;
  file.waveform->samples = opened.samples;
  file.waveform->sampleRate = format.sampleRate;
  file.waveform->storedFormat = format.format;
  file.waveform->storedBits = format.bits;
  file.waveform->coding = format.coding;
  reportFrames(file, opened.statedFrames, opened.heldFrames);
  if (format.statedRate != format.sampleRate)
    file.approximated(u"sample rate", numberText(format.statedRate), numberText(format.sampleRate));
  return true;
}

void reportInstrument(const AiffFile& file, const AiffInstrument& stated, const AiffPlayback& taken) {
  const auto compare = [&](TextView what, double before, double now) {
    if (before != now) file.approximated(what, numberText(before), numberText(now));
  };
  compare(u"root key", stated.baseNote, taken.rootKey);
  compare(u"fine tune in cents", stated.detune, taken.fineTune);
  compare(u"gain in dB", stated.gain, taken.gain);
}

}  // namespace

bool readAiff(Collection& collection, const SourceFile& source, uint32_t) {
  std::array<std::byte, sizeof(FormHeader)> head{};
  source.bytes->readAt(0, head);
  const auto header = ByteReader(head).record<FormHeader>();
  if (header.form != FourCC("FORM")) return fail(u"No FORM starting AIFF file");
  if (header.type != aiff && header.type != aifc && header.type != maud)
    return fail(u"Not an AIFF, AIFC, MAUD type IFF-FORM");

  AiffFile file(source, header);
  // A size without room for a single chunk was never filled in.
  if (header.size > sizeof(FormHeader) && header.size != sizeIsUnknown)
    file.walker.setDeclaredEnd(uint64_t{header.size} + 8);
  while (const auto chunk = file.walker.next()) {
    if (!readChunk(file, *chunk)) return false;
  }
  file.reportStrayBytes(file.walker);
  if (!file.data) return fail(u"No SSND data");
  if (!file.format) return fail(u"No COMM chunk");
  if (!openSamples(file)) return false;
  const auto playback = understandAiff(file.markers.value_or(std::vector<AiffMarker>()), file.instrument);
  for (const Text& name : playback.lostNames) file.dropped(u"name of a marker: " + name, u"it is the end of a loop");
  if (file.instrument) reportInstrument(file, *file.instrument, playback);
  apply(playback, *file.waveform);
  file.addTo(collection);
  return true;
}

namespace {

int scoreOf(std::span<const std::byte> head, std::initializer_list<FourCC> types) {
  ByteReader reader(head);
  const auto header = reader.record<FormHeader>();
  const bool isOne = std::find(types.begin(), types.end(), header.type) != types.end();
  return reader.ok() && header.form == FourCC("FORM") && isOne ? 6 : 0;
}

}  // namespace

int detectAiff(std::span<const std::byte> head, uint32_t, uint64_t) {
  return scoreOf(head, {aiff, aifc});
}
int detectAifc(std::span<const std::byte> head, uint32_t, uint64_t) {
  return scoreOf(head, {aifc});
}
int detectMaud(std::span<const std::byte> head, uint32_t, uint64_t) {
  return scoreOf(head, {maud});
}

}  // namespace tervo
