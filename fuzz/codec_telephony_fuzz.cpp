// The G.726, G.722 and GSM 06.10 decoders over any bytes and block lengths: they stay within their block, and what they
// give can be encoded again.

#include <cmath>
#include <cstdlib>

#include "base/byte_reader.h"
#include "formats/codec/g722.h"
#include "formats/codec/g726.h"
#include "formats/codec/gsm0610.h"
#include "formats/wave/raw_telephony.h"

namespace {

using namespace tervo;

struct Codec {
  DecoderFactory decoder;
  std::unique_ptr<BlockEncoder> encoder;
};

Codec choose(int kind, int bits, BitOrder order, int channels) {
  if (kind == 0) return {g726Decoder(bits, order, channels), g726Encoder(bits, order, channels)};
  if (kind == 1) return {g722Decoder(bits, order, channels), g722Encoder(bits, order, channels)};
  const auto packing = static_cast<GsmPacking>(bits % 4);
  return {gsmDecoder(packing), gsmEncoder(packing)};
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, std::size_t size) {
  ByteReader reader(std::as_bytes(std::span(bytes, size)));
  const int kind = reader.u8() % 3, bits = reader.u8() % 10, channels = kind == 2 ? 1 : 1 + reader.u8() % 3;
  const Codec codec = choose(kind, bits, reader.u8() % 2 ? BitOrder::big : BitOrder::little, channels);
  if (!codec.decoder) return 0;
  for (uint32_t variant = 0; variant < 5; ++variant) detectGsmRaw(std::as_bytes(std::span(bytes, size)), variant, size);

  const auto decoder = codec.decoder();
  std::vector<float> frames(decoder->blockFrames() * static_cast<std::size_t>(channels));
  std::vector<std::byte> coded;
  while (!reader.atEnd()) {
    const std::size_t length = std::min<std::size_t>(reader.remaining(), 1 + reader.u8() * decoder->blockBytes() / 128);
    const std::size_t count = decoder->decode(reader.take(std::min(length, reader.remaining())), frames);
    if (count > decoder->blockFrames()) std::abort();
    const auto decoded = std::span<const float>(frames).first(count * static_cast<std::size_t>(channels));
    for (const float sample : decoded)
      if (!(std::abs(sample) <= 1.0f)) std::abort();
    codec.encoder->encode(decoded, coded);
  }
  codec.encoder->finish(coded);
  return 0;
}
