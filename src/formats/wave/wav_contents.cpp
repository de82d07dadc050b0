#include "formats/wave/wav_contents.h"

#include "base/last_error.h"
#include "formats/wave/wav_samples.h"
#include "platform/path.h"

namespace tervo {
namespace {

Text numberText(int number) {
  return fromUtf8(std::to_string(number));
}

}  // namespace

WavContents::WavContents(const SourceFile& source) : file(source), waveform(std::make_unique<Waveform>()) {
  waveform->name = platform::stemOf(source.path);
  waveform->tags[Tag::sourceFile] = source.path;
}

bool WavContents::readFormat(const Chunk& chunk) {
  if (format) return true;
  format = readWaveFormat(loadChunk(bytes(), chunk));
  return format.has_value();
}

bool WavContents::finish(Collection& collection) {
  if (!format || !data) return fail(u"No wave data found!");
  waveform->sampleRate = format->sampleRate;
  waveform->storedFormat = format->format;
  waveform->storedBits = format->bits;
  waveform->coding = format->coding;
  waveform->samples = openWaveSamples(*format, {file.bytes, data->body, data->bytes, statedFrames});
  if (!waveform->samples) return false;
  if (format->channels > 2) {
    file.report.approximated(waveform->name, u"channels", numberText(format->channels), u"2 (downmix)");
  }
  collection.add(std::move(waveform));
  return true;
}

Text textOf(FourCC id) {
  return fromFileText({id.chars.data(), id.chars.size()});
}

}  // namespace tervo
