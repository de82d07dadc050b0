#include "formats/named_coding.h"

#include "formats/codec/g722.h"
#include "formats/codec/g726.h"
#include "formats/codec/gsm0610.h"
#include "formats/codec/oki_adpcm.h"
#include "formats/codec/rockwell_adpcm.h"
#include "formats/codec/yamaha_adpcm.h"
#include "formats/wave/raw_coded.h"

namespace tervo {
namespace {

using MakeDecoder = DecoderFactory (*)(int bits, BitOrder order, int channels);

void addBothOrders(std::vector<NamedCoding>& all, MakeDecoder make, int bits, int channels, int framesPerWord) {
  const auto frames = [=](uint64_t bytes) { return framesPerWord * wholeCodes(bytes, bits * channels); };
  const DecoderFactory little = make(bits, BitOrder::little, channels), big = make(bits, BitOrder::big, channels);
  if (!little || !big) return;
  const bool hasOrder = little()->coding() != big()->coding();
  all.push_back({little, frames, ByteOrder::little, hasOrder ? big : nullptr});
  all.push_back({big, frames, ByteOrder::big, hasOrder ? little : nullptr});
}

std::vector<NamedCoding> namedCodings(int channels) {
  const auto codes = [](int bits) { return [bits](uint64_t bytes) { return wholeCodes(bytes, bits); }; };
  std::vector<NamedCoding> all = {
      {yamahaAdpcmDecoder(channels), codes(4 * channels), ByteOrder::little, nullptr, true}};
  for (int bits = 2; bits <= 5; ++bits) addBothOrders(all, g726Decoder, bits, channels, 1);
  for (int bits = 6; bits <= 8; ++bits) addBothOrders(all, g722Decoder, bits, channels, 2);
  if (channels > 1) return all;
  all.push_back({okiAdpcmDecoder(), codes(4)});
  for (int bits = 2; bits <= 4; ++bits) all.push_back({rockwellAdpcmDecoder(bits), codes(bits)});
  for (const GsmPacking packing :
       {GsmPacking::frames33, GsmPacking::wavPairs65, GsmPacking::modem34, GsmPacking::modem38})
    all.push_back({gsmDecoder(packing), [packing](uint64_t bytes) { return gsmFrames(packing, bytes); }});
  return all;
}

}  // namespace

std::optional<NamedCoding> codingNamed(TextView name, int channels) {
  for (NamedCoding& coding : namedCodings(channels)) {
    const auto decoder = coding.make ? coding.make() : nullptr;
    if (decoder && decoder->coding() == name) return coding;
  }
  return std::nullopt;
}

}  // namespace tervo
