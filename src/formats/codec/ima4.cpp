#include "formats/codec/ima4.h"

#include <algorithm>

#include "base/byte_reader.h"
#include "formats/codec/code_words.h"
#include "formats/codec/ima_adpcm.h"

namespace tervo {
namespace {

constexpr int lastStepIndex = 88;

class Ima4Decoder final : public BlockDecoder {
 public:
  explicit Ima4Decoder(std::size_t channels) : channels_(channels) {}

  std::size_t blockBytes() const override { return channels_ * ima4PacketBytes; }
  std::size_t blockFrames() const override { return ima4PacketFrames; }
  Text coding() const override { return u"IMA ADPCM, packets of 64 frames"; }
  bool independentBlocks() const override { return true; }

  std::size_t decode(std::span<const std::byte> block, std::span<float> out) override {
    if (block.size() < blockBytes()) return 0;
    ByteReader reader(block);
    for (std::size_t channel = 0; channel < channels_; ++channel) decodePacket(reader, out.subspan(channel));
    return ima4PacketFrames;
  }

 private:
  void decodePacket(ByteReader& reader, std::span<float> out) const {
    constexpr int indexMask = 0x7F;
    const int start = reader.big<int16_t>();
    ImaAdpcmState state{start & ~indexMask, std::min(start & indexMask, lastStepIndex)};
    std::array<uint8_t, ima4PacketFrames> codes;
    unpackCodeWords(reader.take(ima4PacketFrames / 2), 4, BitOrder::little, codes);
    for (std::size_t i = 0; i < codes.size(); ++i) out[i * channels_] = fromPcm16(state.decode(codes[i], 4));
  }

  std::size_t channels_;
};

}  // namespace

DecoderFactory ima4Decoder(int channels) {
  return [channels] { return std::make_unique<Ima4Decoder>(static_cast<std::size_t>(channels)); };
}

}  // namespace tervo
