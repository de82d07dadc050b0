#include "formats/wave/wav_samples.h"

#include <algorithm>

#include "base/last_error.h"
#include "formats/codec/block_codec.h"
#include "formats/codec/g722.h"
#include "formats/codec/g726.h"
#include "formats/codec/gsm0610.h"
#include "formats/codec/ima_adpcm.h"
#include "formats/codec/ms_adpcm.h"
#include "formats/codec/oki_adpcm.h"
#include "formats/codec/rockwell_adpcm.h"
#include "formats/codec/yamaha_adpcm.h"
#include "formats/wave/pcm_import.h"

namespace tervo {
namespace {

StoredSamples storedSamples(const WaveFormat& format, const WaveData& data) {
  StoredSamples stored;
  stored.source = data.source;
  stored.offset = data.offset;
  stored.bytes = data.bytes;
  stored.format = format.format;
  stored.waveFormat = format.body;
  return stored;
}

// What a coding needs beside its bytes.
struct Decoding {
  DecoderFactory makeDecoder;
  int64_t capacity = 0;  ///< frames that the bytes can hold at most
};

// Codes without blocks: as many frames as there are bits for.
Decoding continuous(const WaveFormat& format, const WaveData& data, DecoderFactory factory) {
  return {std::move(factory), framesInData(format, data.bytes)};
}

template <typename Layout>
int64_t blockCapacity(const Layout& layout, uint64_t bytes, int (*framesOf)(const Layout&)) {
  const auto align = static_cast<uint64_t>(layout.blockAlign);
  Layout last = layout;
  last.blockAlign = static_cast<int>(bytes % align);
  last.samplesPerBlock = 0;
  const auto perBlock = static_cast<uint64_t>(layout.samplesPerBlock > 0 ? layout.samplesPerBlock : framesOf(layout));
  const int64_t lastFrames = last.blockAlign > 0 ? std::max(framesOf(last), 0) : 0;
  return static_cast<int64_t>(bytes / align * perBlock) + std::min(lastFrames, static_cast<int64_t>(perBlock));
}

Decoding decodeIma(const WaveFormat& format, const WaveData& data) {
  const ImaAdpcmLayout layout{format.bits, format.channels, format.blockAlign, format.samplesPerBlock};
  return {imaAdpcmDecoder(layout), blockCapacity(layout, data.bytes, imaAdpcmBlockCapacity)};
}

Decoding decodeMs(const WaveFormat& format, const WaveData& data) {
  const auto layout = msAdpcmLayout(format.channels, format.blockAlign, format.extra());
  if (!layout) return {};
  return {msAdpcmDecoder(*layout), blockCapacity(*layout, data.bytes, msAdpcmBlockCapacity)};
}

Decoding decodeGsm(const WaveFormat& format, const WaveData& data) {
  const auto packing = format.tag == WaveTag::msnAudio ? GsmPacking::modem38 : GsmPacking::wavPairs65;
  return {gsmDecoder(packing), gsmFrames(packing, data.bytes)};
}

Decoding decodeG726(const WaveFormat& format, const WaveData& data) {
  const auto order = packsFromTheTop(format.tag) ? BitOrder::big : BitOrder::little;
  return continuous(format, data, g726Decoder(format.bits, order, format.channels));
}

Decoding decodingOf(const WaveFormat& format, const WaveData& data) {
  switch (format.codec) {
    case WaveCodec::ima:
      return decodeIma(format, data);
    case WaveCodec::ms:
      return decodeMs(format, data);
    case WaveCodec::gsm:
      return decodeGsm(format, data);
    case WaveCodec::oki:
      return continuous(format, data, okiAdpcmDecoder());
    case WaveCodec::yamaha:
      return continuous(format, data, yamahaAdpcmDecoder(format.channels));
    case WaveCodec::rockwell:
      return continuous(format, data, rockwellAdpcmDecoder(format.bits));
    case WaveCodec::g726:
      return decodeG726(format, data);
    case WaveCodec::g722:
      return continuous(format, data, g722Decoder(8, BitOrder::little, format.channels));
    case WaveCodec::mpeg:
      fail(u"The MPEG audio decoder is not available yet");
      break;
    case WaveCodec::vorbis:
      fail(u"The Ogg Vorbis decoder is not available yet");
      break;
    default:
      fail(u"The decoder for this compressed format is not available yet");
      break;
  }
  return {};
}

// Stated frames count as far as the bytes hold them. One encoder of stereo blocks states half of them.
int64_t settleFrames(const WaveFormat& format, const WaveData& data, const Decoding& decoding) {
  const auto capacity = static_cast<uint64_t>(decoding.capacity);
  if (data.statedFrames == 0) return decoding.capacity;
  const bool isHalved = format.codec == WaveCodec::ima && format.channels == 2 && data.statedFrames == capacity / 2;
  return static_cast<int64_t>(isHalved ? capacity : std::min(data.statedFrames, capacity));
}

SampleRef openCoded(const WaveFormat& format, const WaveData& data) {
  if (formatOf(format.format) != SampleFormat::compressed && format.channels > 2) return fail(u"Too many channels");
  const Decoding decoding = decodingOf(format, data);
  if (!decoding.makeDecoder) return nullptr;
  const int64_t frames = settleFrames(format, data, decoding);
  if (frames == 0) return fail(u"Zero length");
  return makeCodedSamples(storedSamples(format, data), format.channels, frames, decoding.makeDecoder);
}

// The stored format by which the bytes are read: a narrow sample stands in the upper bits of its bytes.
SampleFormatWord layoutOf(const WaveFormat& format) {
  if (format.codec != WaveCodec::pcm) return format.format;
  switch (format.containerBytes()) {
    case 1:
      return formatWord(SampleFormat::pcm8, Unsigned);
    case 2:
      return formatWord(SampleFormat::pcm16);
    case 3:
      return formatWord(SampleFormat::pcm24);
    default:
      return formatWord(SampleFormat::pcm32);
  }
}

SampleRef openLinear(const WaveFormat& format, const WaveData& data) {
  const auto frameBytes = static_cast<uint64_t>(format.containerBytes() * format.channels);
  uint64_t frames = data.bytes / frameBytes;
  if (data.statedFrames > 0) frames = std::min(frames, data.statedFrames);
  if (frames == 0) return fail(u"Zero length");
  StoredSamples stored = storedSamples(format, data);
  stored.bytes = frames * frameBytes;
  stored.format = layoutOf(format);
  const auto count = static_cast<int64_t>(frames);
  const int containerBytes = format.codec == WaveCodec::pcm ? format.containerBytes() : 0;
  if (format.channels > 2)
    return importPcmDownmixed(std::move(stored), containerBytes, format.channels, count, format.channelMask);
  if (containerBytes > 4) return importPcmContainer(std::move(stored), containerBytes, format.channels, count);
  return importPcm(std::move(stored), format.channels, count);
}

}  // namespace

SampleRef openWaveSamples(const WaveFormat& format, const WaveData& data) {
  switch (format.codec) {
    case WaveCodec::pcm:
    case WaveCodec::floating:
    case WaveCodec::aLaw:
    case WaveCodec::muLaw:
      return openLinear(format, data);
    default:
      return openCoded(format, data);
  }
}

}  // namespace tervo
