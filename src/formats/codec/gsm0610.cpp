#include "formats/codec/gsm0610.h"

#include <algorithm>

#include "formats/codec/code_words.h"
#include "formats/codec/gsm0610_decoder.h"
#include "formats/codec/gsm0610_encoder.h"

namespace tervo {
namespace {

using gsm::frameSamples;
using Samples = std::array<int16_t, frameSamples>;

constexpr std::size_t bytesOfHalfPair = 33;  // 260 bits

TextView nameOf(GsmPacking packing) {
  switch (packing) {
    case GsmPacking::wavPairs65:
      return u"GSM 06.10, pairs of frames";
    case GsmPacking::modem38:
      return u"GSM 06.10, frames of 38 bytes";
    case GsmPacking::modem34:
      return u"GSM 06.10, frames of 34 bytes";
    case GsmPacking::frames33:
      break;
  }
  return u"GSM 06.10, frames of 33 bytes";
}

class GsmDecoder final : public BlockDecoder {
 public:
  explicit GsmDecoder(GsmPacking packing) : packing_(packing) {}

  std::size_t blockBytes() const override { return blockOf(packing_).bytes; }
  std::size_t blockFrames() const override { return blockOf(packing_).frames; }
  Text coding() const override { return Text(nameOf(packing_)); }
  bool independentBlocks() const override { return false; }

  std::size_t decode(std::span<const std::byte> block, std::span<float> out) override {
    const auto frames = std::min(static_cast<std::size_t>(gsmFrames(packing_, std::min(block.size(), blockBytes()))),
                                 out.size() / frameSamples * frameSamples);
    for (std::size_t first = 0; first < frames; first += frameSamples) {
      const Samples samples = decodeFrame(block, first == 0 ? 0 : 1);
      std::transform(samples.begin(), samples.end(), out.begin() + static_cast<std::ptrdiff_t>(first), fromPcm16);
    }
    return frames;
  }

 private:
  /// A frame without its mark is silence, and the filters stay as they were.
  Samples decodeFrame(std::span<const std::byte> block, int which) {
    Samples samples{};
    gsm::Frame frame;
    if (packing_ == GsmPacking::wavPairs65) {
      decoder_.decode(gsm::unpackPair(block, which), samples);
    } else if (gsm::unpack33(block.subspan(packing_ == GsmPacking::modem38 ? 2 : 0).first<33>(), frame)) {
      decoder_.decode(frame, samples);
    }
    return samples;
  }

  GsmPacking packing_;
  gsm::Decoder decoder_;
};

class GsmEncoder final : public BlockEncoder {
 public:
  explicit GsmEncoder(GsmPacking packing) : packing_(packing) {}

  Text coding() const override { return Text(nameOf(packing_)); }
  uint64_t bytesFor(uint64_t frames) const override {
    const GsmBlock block = blockOf(packing_);
    return (frames + block.frames - 1) / block.frames * block.bytes;
  }
  std::size_t blockFrames() const override { return blockOf(packing_).frames; }

  void encode(std::span<const float> frames, std::vector<std::byte>& out) override {
    while (!frames.empty()) {
      const std::size_t count = std::min(frames.size(), blockFrames());
      encodeBlock(frames.first(count), out);
      frames = frames.subspan(count);
    }
  }

 private:
  gsm::Frame encodeFrame(std::span<const float> frames) {
    Samples samples{};
    const std::size_t count = std::min(frames.size(), samples.size());
    std::transform(frames.begin(), frames.begin() + static_cast<std::ptrdiff_t>(count), samples.begin(), toPcm16);
    return encoder_.encode(samples);
  }

  void encodeBlock(std::span<const float> frames, std::vector<std::byte>& out) {
    const std::size_t at = out.size();
    out.resize(at + blockOf(packing_).bytes);
    const auto block = std::span(out).subspan(at);
    const gsm::Frame first = encodeFrame(frames);
    if (packing_ == GsmPacking::wavPairs65) {
      const gsm::Frame second = encodeFrame(frames.subspan(std::min(frames.size(), frameSamples)));
      return gsm::packPair({first, second}, block.first<65>());
    }
    if (packing_ == GsmPacking::modem38) {
      block[0] = block[1] = std::byte{0xFE};
      block[36] = block[37] = std::byte{0xA5};
    }
    gsm::pack33(first, block.subspan(packing_ == GsmPacking::modem38 ? 2 : 0).first<33>());
  }

  GsmPacking packing_;
  gsm::Encoder encoder_;
};

}  // namespace

GsmBlock blockOf(GsmPacking packing) {
  switch (packing) {
    case GsmPacking::wavPairs65:
      return {65, 2 * frameSamples};
    case GsmPacking::modem38:
      return {38, frameSamples};
    case GsmPacking::modem34:
      return {34, frameSamples};
    case GsmPacking::frames33:
      break;
  }
  return {33, frameSamples};
}

int64_t gsmFrames(GsmPacking packing, uint64_t bytes) {
  const GsmBlock block = blockOf(packing);
  const bool half = packing == GsmPacking::wavPairs65 && bytes % block.bytes >= bytesOfHalfPair;
  return static_cast<int64_t>(bytes / block.bytes * block.frames + (half ? frameSamples : 0));
}

uint64_t gsmBytes(GsmPacking packing, int64_t frames) {
  const GsmBlock block = blockOf(packing);
  const auto count = static_cast<uint64_t>(frames);
  return count / block.frames * block.bytes + (count % block.frames > 0 ? bytesOfHalfPair : 0);
}

DecoderFactory gsmDecoder(GsmPacking packing) {
  return [=] { return std::make_unique<GsmDecoder>(packing); };
}

std::unique_ptr<BlockEncoder> gsmEncoder(GsmPacking packing) {
  return std::make_unique<GsmEncoder>(packing);
}

}  // namespace tervo
