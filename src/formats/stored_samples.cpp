#include "formats/stored_samples.h"

#include "base/last_error.h"
#include "formats/codec/compressed_stream.h"
#include "formats/named_coding.h"
#include "formats/wave/pcm_import.h"
#include "formats/wave/wav_samples.h"

namespace tervo {
namespace {

/// Whether so many bytes can hold so many frames.
bool holds(const BlockDecoder& decoder, uint64_t bytes, int64_t frames) {
  return static_cast<uint64_t>(frames) / decoder.blockFrames() <= bytes / decoder.blockBytes() + 1;
}

SampleRef openNamed(StoredSamples stored, int channels, int64_t frames) {
  auto coding = codingNamed(stored.coding, channels);
  if (!coding || !holds(*coding->make(), stored.bytes, frames))
    return fail(u"Invalid format for generic import function!");
  return makeCodedSamples(std::move(stored), channels, frames, std::move(coding->make));
}

}  // namespace

SampleRef openStoredSamples(StoredSamples stored, int channels, int64_t frames) {
  if (stored.genericPcm) return importPcm(std::move(stored), channels, frames);
  if (formatOf(stored.format) == SampleFormat::compressed && stored.waveFormat.empty()) {
    const auto facts = factsOfStream(stored);
    const bool isAsDescribed = facts && facts->channels == channels && facts->frames == frames;
    return isAsDescribed ? openCompressed(std::move(stored), *facts) : nullptr;
  }
  if (stored.waveFormat.empty()) return openNamed(std::move(stored), channels, frames);
  const auto format = readWaveFormat(std::move(stored.waveFormat));
  if (!format) return nullptr;
  return openWaveSamples(*format,
                         {std::move(stored.source), stored.offset, stored.bytes, static_cast<uint64_t>(frames)});
}

}  // namespace tervo
