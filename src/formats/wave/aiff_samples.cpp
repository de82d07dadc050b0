#include "formats/wave/aiff_samples.h"

#include <algorithm>

#include "base/last_error.h"
#include "formats/codec/block_codec.h"
#include "formats/codec/dwvw.h"
#include "formats/codec/g722.h"
#include "formats/codec/g726.h"
#include "formats/codec/gsm0610.h"
#include "formats/codec/ima4.h"
#include "formats/codec/mace.h"
#include "formats/wave/pcm_import.h"

namespace tervo {
namespace {

StoredSamples storedSamples(const AiffFormat& format, const AiffData& data) {
  StoredSamples stored;
  stored.source = data.source;
  stored.offset = data.offset;
  stored.bytes = data.bytes;
  stored.format = format.format;
  return stored;
}

// What a coding needs beside its bytes. A packet is the least that can be decoded, all channels.
struct Decoding {
  DecoderFactory makeDecoder;
  uint64_t packetFrames = 1;  // 1: the header counts frames
  uint64_t capacity = 0;      // frames that the bytes can hold at most
};

Decoding packets(DecoderFactory factory, uint64_t packetBytes, uint64_t packetFrames, uint64_t bytes) {
  return {std::move(factory), packetFrames, bytes / packetBytes * packetFrames};
}

Decoding decodeGsm(const AiffFormat& format, uint64_t bytes) {
  if (format.channels > 1) {
    fail(u"Can only handle (the standard!) mono GSM");
    return {};
  }
  const auto [packetBytes, packetFrames] = blockOf(GsmPacking::frames33);
  return packets(gsmDecoder(GsmPacking::frames33), packetBytes, packetFrames, bytes);
}

// Code words without packets; low bits first, as QuickTime had them.
Decoding decodeG726(const AiffFormat& format, uint64_t bytes) {
  const auto bitsPerFrame = static_cast<uint64_t>(format.bits * format.channels);
  return {g726Decoder(format.bits, BitOrder::little, format.channels), 1, bytes * 8 / bitsPerFrame};
}

Decoding decodingOf(const AiffFormat& format, uint64_t bytes) {
  const auto channels = static_cast<uint64_t>(format.channels);
  switch (format.codec) {
    case AiffCodec::ima4:
      return packets(ima4Decoder(format.channels), ima4PacketBytes * channels, ima4PacketFrames, bytes);
    case AiffCodec::mace3:
      return packets(maceDecoder(MaceRatio::threeToOne, format.channels), 2 * channels, macePacketFrames, bytes);
    case AiffCodec::mace6:
      return packets(maceDecoder(MaceRatio::sixToOne, format.channels), channels, macePacketFrames, bytes);
    case AiffCodec::g722:
      return packets(g722Decoder(8, BitOrder::little, format.channels), channels, 2, bytes);
    case AiffCodec::g726:
      return decodeG726(format, bytes);
    case AiffCodec::gsm:
      return decodeGsm(format, bytes);
    case AiffCodec::dwvw:
      // A sample that repeats the one before it takes a single bit.
      return {dwvwDecoder(format.bits, format.channels), 1, bytes * 8};
    default:
      return {};
  }
}

// Writers count packets or frames, and libsndfile counts half the packets of stereo. So the bytes say how many there
// are, unless the number ends within the last packet, which is then not full.
uint64_t framesOf(const AiffFormat& format, const Decoding& decoding) {
  const bool isInLastPacket =
      format.frames <= decoding.capacity && format.frames + decoding.packetFrames > decoding.capacity;
  const bool countsPackets = format.frames * decoding.packetFrames == decoding.capacity;
  if (decoding.packetFrames > 1) return isInLastPacket && !countsPackets ? format.frames : decoding.capacity;
  return format.frames > 0 ? std::min(format.frames, decoding.capacity) : decoding.capacity;
}

AiffSamples openCoded(const AiffFormat& format, const AiffData& data) {
  const Decoding decoding = decodingOf(format, data.bytes);
  if (!decoding.makeDecoder) return {};
  AiffSamples opened;
  const uint64_t frames = framesOf(format, decoding);
  opened.statedFrames = std::max(frames, format.frames);
  if (frames == 0) return fail(u"Zero length"), AiffSamples();
  opened.samples = makeCodedSamples(storedSamples(format, data), format.channels, static_cast<int64_t>(frames),
                                    decoding.makeDecoder);
  return opened;
}

AiffSamples openPlain(const AiffFormat& format, const AiffData& data) {
  AiffSamples opened{nullptr, format.frames, plainFrames(format, data.bytes)};
  const auto frames =
      static_cast<int64_t>(format.frames > 0 ? std::min(format.frames, opened.heldFrames) : opened.heldFrames);
  StoredSamples stored = storedSamples(format, data);
  const bool isWide = format.codec == AiffCodec::pcm && format.containerBytes() > 4;
  opened.samples = isWide ? importPcmContainer(std::move(stored), format.containerBytes(), format.channels, frames)
                          : importPcm(std::move(stored), format.channels, frames);
  return opened;
}

}  // namespace

uint64_t plainFrames(const AiffFormat& format, uint64_t bytes) {
  return bytes / static_cast<uint64_t>(std::max(format.containerBytes() * format.channels, 1));
}

AiffSamples openAiffSamples(const AiffFormat& format, const AiffData& data) {
  if (format.channels == 0) return fail(u"No channels"), AiffSamples();
  switch (format.codec) {
    case AiffCodec::pcm:
    case AiffCodec::floating:
    case AiffCodec::aLaw:
    case AiffCodec::muLaw:
      return openPlain(format, data);
    default:
      return openCoded(format, data);
  }
}

}  // namespace tervo
