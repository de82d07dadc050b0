#include "formats/stored_samples.h"

#include "base/last_error.h"
#include "formats/codec/compressed_stream.h"
#include "formats/codec/g722.h"
#include "formats/codec/g726.h"
#include "formats/codec/gsm0610.h"
#include "formats/codec/oki_adpcm.h"
#include "formats/codec/rockwell_adpcm.h"
#include "formats/codec/yamaha_adpcm.h"
#include "formats/wave/pcm_import.h"
#include "formats/wave/wav_samples.h"

namespace tervo {
namespace {

/// The codings that headerless files come in.
std::vector<DecoderFactory> namedDecoders(int channels) {
  std::vector<DecoderFactory> all = {yamahaAdpcmDecoder(channels)};
  for (const BitOrder order : {BitOrder::little, BitOrder::big}) {
    for (int bits = 2; bits <= 5; ++bits) all.push_back(g726Decoder(bits, order, channels));
    for (int bits = 6; bits <= 8; ++bits) all.push_back(g722Decoder(bits, order, channels));
  }
  if (channels > 1) return all;
  all.push_back(okiAdpcmDecoder());
  for (int bits = 2; bits <= 4; ++bits) all.push_back(rockwellAdpcmDecoder(bits));
  for (const GsmPacking packing :
       {GsmPacking::frames33, GsmPacking::wavPairs65, GsmPacking::modem34, GsmPacking::modem38})
    all.push_back(gsmDecoder(packing));
  return all;
}

/// Whether so many bytes can hold so many frames.
bool holds(const BlockDecoder& decoder, uint64_t bytes, int64_t frames) {
  return static_cast<uint64_t>(frames) / decoder.blockFrames() <= bytes / decoder.blockBytes() + 1;
}

SampleRef openNamed(StoredSamples stored, int channels, int64_t frames) {
  for (DecoderFactory& make : namedDecoders(channels)) {
    const auto decoder = make ? make() : nullptr;
    if (!decoder || decoder->coding() != stored.coding || !holds(*decoder, stored.bytes, frames)) continue;
    return makeCodedSamples(std::move(stored), channels, frames, std::move(make));
  }
  return fail(u"Invalid format for generic import function!");
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
