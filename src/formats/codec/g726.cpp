#include "formats/codec/g726.h"

#include "base/last_error.h"
#include "formats/codec/g726_channel.h"

namespace tervo {
namespace {

constexpr TextView name = u"G.726";

const g726::Rate* rateOrFail(int bits) {
  const g726::Rate* rate = g726::rateOf(bits);
  if (!rate) setLastErrorText(u"Invalid no bits/sample for CCITT G.721/.723/.726 ADPCM encoding");
  return rate;
}

}  // namespace

DecoderFactory g726Decoder(int bits, BitOrder order, int channels) {
  const g726::Rate* rate = rateOrFail(bits);
  if (!rate) return nullptr;
  return [=] {
    return std::make_unique<CodeWordDecoder<g726::Channel>>(g726::Channel(*rate), name, bits, order, channels);
  };
}

std::unique_ptr<BlockEncoder> g726Encoder(int bits, BitOrder order, int channels) {
  const g726::Rate* rate = rateOrFail(bits);
  if (!rate) return nullptr;
  return std::make_unique<CodeWordEncoder<g726::Channel>>(g726::Channel(*rate), name, bits, order, channels);
}

}  // namespace tervo
