#include "formats/wave/wav_contents.h"

#include "base/last_error.h"
#include "formats/wave/id3_tags.h"
#include "formats/wave/wav_chunks.h"
#include "formats/wave/wav_loops.h"
#include "formats/wave/wav_samples.h"
#include "platform/path.h"

namespace tervo {
namespace {

constexpr std::size_t id3Limit = 64u << 20;  // pictures
// Programs that write to a pipe leave something like this where they cannot know the size.
constexpr uint64_t leastPipeSize = 0x7FFFF000;

Text numberText(uint64_t number) {
  return fromUtf8(std::to_string(number));
}

}  // namespace

WavContents::WavContents(const SourceFile& source) : file(source), waveform(std::make_unique<Waveform>()) {
  waveform->name = platform::stemOf(source.path);
  waveform->tags[Tag::sourceFile] = source.path;
}

void WavContents::keep(FourCC container, const Chunk& chunk) {
  if (keepChunk(*waveform, container, chunk, file.bytes, !data)) return;
  dropped(textOf(chunk.id) + u" chunk", u"too many chunks");
}

bool WavContents::readFormat(const Chunk& chunk) {
  if (format) {
    dropped(u"fmt chunk", u"the file has another one");
    return true;
  }
  format = readWaveFormat(loadChunk(bytes(), chunk));
  return format.has_value();
}

bool WavContents::readSamplerChunk(const Chunk& chunk) {
  const auto sampler = readSampler(loadChunk(bytes(), chunk));
  if (!sampler || hasSampler) {
    dropped(u"smpl chunk", hasSampler ? u"the file has another one" : u"too short");
    return true;
  }
  hasSampler = true;
  apply(*sampler, *waveform);
  if (sampler->loops.size() < sampler->cueIds.size()) dropped(u"loop", u"it ends before it begins");
  loopCueIds.insert(sampler->cueIds.begin(), sampler->cueIds.end());
  keep(knownContainer, chunk);
  return true;
}

bool WavContents::readInstrument(const Chunk& chunk) {
  if (const auto instrument = readInstrumentChunk(loadChunk(bytes(), chunk))) apply(*instrument, *waveform);
  keep(knownContainer, chunk);
  return true;
}

bool WavContents::readId3Chunk(const Chunk& chunk) {
  keep(knownContainer, chunk);
  id3.push_back(chunk);
  return true;
}

void WavContents::setData(const Chunk& chunk) {
  if (data) return dropped(u"data chunk", u"the file has another one");
  data = chunk;
  if (!chunk.isTruncated() || chunk.size >= leastPipeSize) return;
  file.report.approximated(waveform->name, u"sample data", numberText(chunk.size) + u" bytes",
                           numberText(chunk.bytes) + u" bytes, where the file ends");
}

bool WavContents::readTruncated(const Chunk& chunk) const {
  if (!format || !data) return fail(u"Reading from file failed");
  dropped(textOf(chunk.id) + u" chunk", u"Reading from file failed");
  return true;
}

// Codings with blocks need the stated count to cut the last one; here it leaves out samples that are there.
void WavContents::reportFrameCount() const {
  const auto stored = static_cast<uint64_t>(framesInData(*format, data->bytes));
  if (format->containerBits == 0 || statedFrames == 0 || statedFrames >= stored) return;
  file.report.approximated(waveform->name, u"frames", numberText(stored), numberText(statedFrames) + u", as stated");
}

bool WavContents::finish(Collection& collection) {
  if (!format || !data) return fail(u"No wave data found!");
  waveform->sampleRate = format->sampleRate;
  waveform->storedFormat = format->format;
  waveform->storedBits = format->bits;
  waveform->coding = format->coding;
  waveform->samples = openWaveSamples(*format, {file.bytes, data->body, data->bytes, statedFrames});
  if (!waveform->samples) return false;
  reportFrameCount();
  if (format->channels > 2) {
    file.report.approximated(waveform->name, u"channels", numberText(static_cast<uint64_t>(format->channels)),
                             u"2 (downmix)");
  }
  // Last, because its texts say how they are encoded.
  for (const auto& chunk : id3) readId3(loadChunk(bytes(), chunk, id3Limit), waveform->tags);
  collection.add(std::move(waveform));
  return true;
}

Text textOf(FourCC id) {
  return fromFileText({id.chars.data(), id.chars.size()});
}

}  // namespace tervo
