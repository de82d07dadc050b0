#include "formats/wave/wav_contents.h"

#include "base/last_error.h"
#include "formats/wave/wav_loops.h"
#include "formats/wave/wav_samples.h"

namespace tervo {

bool WavContents::readFormat(const Chunk& chunk) {
  if (format) {
    dropped(u"fmt chunk", u"the file has another one");
    return true;
  }
  format = readWaveFormat(load(chunk));
  return format.has_value();
}

bool WavContents::readSamplerChunk(const Chunk& chunk) {
  const auto sampler = readSampler(load(chunk));
  if (!sampler || hasSampler) {
    dropped(u"smpl chunk", hasSampler ? u"the file has another one" : u"too short");
    return true;
  }
  hasSampler = true;
  apply(*sampler, *waveform);
  if (sampler->loops.size() < sampler->cueIds.size()) dropped(u"loop", u"it ends before it begins");
  loopCueIds.insert(sampler->cueIds.begin(), sampler->cueIds.end());
  keepKnown(chunk);
  return true;
}

bool WavContents::readInstrument(const Chunk& chunk) {
  if (const auto instrument = readInstrumentChunk(load(chunk))) apply(*instrument, *waveform);
  keepKnown(chunk);
  return true;
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
  approximated(u"frames", countText(stored), countText(statedFrames) + u", as stated");
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
  if (format->channels > 2)
    approximated(u"channels", countText(static_cast<uint64_t>(format->channels)), u"2 (downmix)");
  addTo(collection);
  return true;
}

}  // namespace tervo
