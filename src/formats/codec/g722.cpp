#include "formats/codec/g722.h"

#include "base/last_error.h"
#include "formats/codec/g722_channel.h"

namespace tervo {
namespace {

constexpr TextView name = u"G.722";

bool isMode(int bits) {
  if (bits >= 6 && bits <= 8) return true;
  return fail(u"Unsupported G.722 mode: a code word has 6, 7 or 8 bits");
}

}  // namespace

DecoderFactory g722Decoder(int bits, BitOrder order, int channels) {
  if (!isMode(bits)) return nullptr;
  return [=] {
    return std::make_unique<CodeWordDecoder<g722::Channel>>(g722::Channel(bits), name, bits, order, channels);
  };
}

std::unique_ptr<BlockEncoder> g722Encoder(int bits, BitOrder order, int channels) {
  if (!isMode(bits)) return nullptr;
  return std::make_unique<CodeWordEncoder<g722::Channel>>(g722::Channel(bits), name, bits, order, channels);
}

}  // namespace tervo
