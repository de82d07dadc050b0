// The ADPCM decoders over any bytes, with layouts as a "fmt " chunk may claim them: read from the front and from a
// frame in the middle, which must give the same.

#include <algorithm>
#include <cstdlib>

#include "base/byte_reader.h"
#include "formats/codec/ima_adpcm.h"
#include "formats/codec/ms_adpcm.h"
#include "formats/codec/oki_adpcm.h"
#include "formats/codec/rockwell_adpcm.h"
#include "formats/codec/yamaha_adpcm.h"

namespace {

using namespace tervo;

struct Choice {
  DecoderFactory decoder;
  int channels;
};

Choice choose(ByteReader& reader) {
  const int coding = reader.u8() % 5;
  const int bits = reader.u8() % 8;
  const int channels = reader.u8() % 4;
  const int blockAlign = reader.little<uint16_t>();
  const int samplesPerBlock = reader.little<uint16_t>();
  switch (coding) {
    case 0:
      return {imaAdpcmDecoder({bits, channels, blockAlign, samplesPerBlock}), channels};
    case 1: {
      const auto layout =
          msAdpcmLayout(channels, blockAlign, reader.take(std::min<std::size_t>(reader.remaining(), 32)));
      return {layout ? msAdpcmDecoder(*layout) : nullptr, channels};
    }
    case 2:
      return {okiAdpcmDecoder(), 1};
    case 3:
      return {yamahaAdpcmDecoder(channels), channels};
    default:
      return {rockwellAdpcmDecoder(bits), 1};
  }
}

std::vector<float> readFrom(const SampleRef& data, int64_t first) {
  std::vector<float> all, part(1000);
  const auto stream = data->open(first);
  if (!stream) std::abort();
  while (const auto frames = stream->read(part)) {
    if (*frames == 0) return all;
    all.insert(all.end(), part.begin(), part.begin() + static_cast<std::ptrdiff_t>(*frames) * data->channels());
  }
  std::abort();  // memory does not fail
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, std::size_t size) {
  ByteReader reader(std::as_bytes(std::span(bytes, size)));
  const Choice choice = choose(reader);
  const int64_t frames = reader.little<uint16_t>();
  const int64_t first = frames * reader.u8() / 256;
  const auto rest = reader.ok() ? reader.take(reader.remaining()) : std::span<const std::byte>();
  StoredSamples stored;
  stored.source = std::make_shared<MemorySource>(std::vector(rest.begin(), rest.end()));
  stored.bytes = UINT64_MAX;
  const SampleRef data = makeCodedSamples(stored, choice.channels, frames, choice.decoder);
  if (!data) return 0;
  const auto whole = readFrom(data, 0);
  const auto tail = readFrom(data, first);
  if (whole.size() != static_cast<std::size_t>(frames * choice.channels)) std::abort();
  if (!std::equal(tail.begin(), tail.end(), whole.begin() + first * choice.channels, whole.end())) std::abort();
  return 0;
}
