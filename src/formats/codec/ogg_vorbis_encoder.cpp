#include <algorithm>
#include <array>

#include "base/last_error.h"
#include "formats/codec/codec_library.h"
#include "formats/codec/ogg_vorbis.h"

namespace tervo {
namespace {

// The binary interface of libogg 0, libvorbis 0 and libvorbisenc 2. Their structures are made by the caller; nothing
// here looks into most of them, and all are below 512 bytes on every platform. `long` is the C type of the platform.

struct alignas(16) Opaque {
  std::byte inside[1024] = {};
};
struct Info : Opaque {};
struct Comment : Opaque {};
struct Analysis : Opaque {};
struct Block : Opaque {};
struct Stream : Opaque {};
struct Packet : Opaque {};

struct Page {
  const std::byte* header = nullptr;
  long headerBytes = 0;
  const std::byte* body = nullptr;
  long bodyBytes = 0;
};

struct Functions {
  std::unique_ptr<platform::DynamicLibrary> ogg, vorbis, encoder;
  int (*streamInit)(Stream*, int serialNumber) = nullptr;
  int (*streamClear)(Stream*) = nullptr;
  int (*packetIn)(Stream*, Packet*) = nullptr;
  int (*pageOut)(Stream*, Page*) = nullptr;
  int (*flush)(Stream*, Page*) = nullptr;
  void (*infoInit)(Info*) = nullptr;
  void (*infoClear)(Info*) = nullptr;
  void (*commentInit)(Comment*) = nullptr;
  void (*commentClear)(Comment*) = nullptr;
  int (*analysisInit)(Analysis*, Info*) = nullptr;
  void (*analysisClear)(Analysis*) = nullptr;
  int (*blockInit)(Analysis*, Block*) = nullptr;
  int (*blockClear)(Block*) = nullptr;
  int (*headers)(Analysis*, Comment*, Packet*, Packet*, Packet*) = nullptr;
  float** (*buffer)(Analysis*, int frames) = nullptr;
  int (*wrote)(Analysis*, int frames) = nullptr;
  int (*blockOut)(Analysis*, Block*) = nullptr;
  int (*analyse)(Block*, Packet*) = nullptr;
  int (*addBlock)(Block*) = nullptr;
  int (*flushPacket)(Analysis*, Packet*) = nullptr;
  int (*initByQuality)(Info*, long channels, long rate, float quality) = nullptr;
  int (*initByRate)(Info*, long channels, long rate, long most, long nominal, long least) = nullptr;

  bool load() {
    static constexpr TextView oggNames[] = {u"libogg.so.0", u"libogg-0.dll", u"ogg.dll"};
    static constexpr TextView vorbisNames[] = {u"libvorbis.so.0", u"libvorbis-0.dll", u"vorbis.dll"};
    static constexpr TextView encoderNames[] = {u"libvorbisenc.so.2", u"libvorbisenc-2.dll", u"vorbisenc.dll"};
    ogg = openCodecLibrary(oggVorbisName, u"libogg", oggNames);
    vorbis = ogg ? openCodecLibrary(oggVorbisName, u"libvorbis", vorbisNames) : nullptr;
    encoder = vorbis ? openCodecLibrary(oggVorbisName, u"libvorbisenc", encoderNames) : nullptr;
    return encoder && lookOgg() && lookVorbis() && lookEncoder();
  }

 private:
  bool lookOgg() {
    return FunctionLookup(ogg.get())(streamInit, "ogg_stream_init")(streamClear, "ogg_stream_clear")(
               packetIn, "ogg_stream_packetin")(pageOut, "ogg_stream_pageout")(flush, "ogg_stream_flush")
        .ok();
  }
  bool lookVorbis() {
    FunctionLookup look(vorbis.get());
    look(infoInit, "vorbis_info_init")(infoClear, "vorbis_info_clear");
    look(commentInit, "vorbis_comment_init")(commentClear, "vorbis_comment_clear");
    look(analysisInit, "vorbis_analysis_init")(analysisClear, "vorbis_dsp_clear");
    look(blockInit, "vorbis_block_init")(blockClear, "vorbis_block_clear");
    look(headers, "vorbis_analysis_headerout")(buffer, "vorbis_analysis_buffer")(wrote, "vorbis_analysis_wrote");
    look(blockOut, "vorbis_analysis_blockout")(analyse, "vorbis_analysis");
    look(addBlock, "vorbis_bitrate_addblock")(flushPacket, "vorbis_bitrate_flushpacket");
    return look.ok();
  }
  bool lookEncoder() {
    return FunctionLookup(encoder.get())(initByQuality, "vorbis_encode_init_vbr")(initByRate, "vorbis_encode_init")
        .ok();
  }
};

constexpr std::size_t blockFrames = 4096;

class Encoder {
 public:
  Encoder(const Functions& functions, const SampleData& samples, std::vector<std::byte>& out)
      : f_(functions), samples_(samples), channels_(static_cast<std::size_t>(samples.channels())), out_(out) {
    f_.infoInit(&info_);
    f_.commentInit(&comment_);
  }
  ~Encoder() {
    if (streamReady_) f_.streamClear(&stream_);
    if (analysisReady_) {
      f_.blockClear(&block_);
      f_.analysisClear(&analysis_);
    }
    f_.commentClear(&comment_);
    f_.infoClear(&info_);
  }
  Encoder(const Encoder&) = delete;
  Encoder& operator=(const Encoder&) = delete;

  bool encode(double sampleRate, VorbisQuality quality, uint32_t serialNumber) {
    if (!setUp(sampleRate, quality)) return fail(u"The sound cannot be encoded as Ogg Vorbis");
    analysisReady_ = f_.analysisInit(&analysis_, &info_) == 0 && f_.blockInit(&analysis_, &block_) == 0;
    streamReady_ = analysisReady_ && f_.streamInit(&stream_, static_cast<int>(serialNumber)) == 0;
    return streamReady_ ? writeHeaders() && writeSound() : fail(u"Out of memory");
  }

 private:
  /// The coder knows rates up to 200 kHz and, for each, a range of bit rates; what it cannot have it gets close to.
  bool setUp(double sampleRate, VorbisQuality quality) {
    const auto channels = static_cast<long>(channels_);
    const long rate = static_cast<long>(std::clamp(sampleRate, 1000.0, 192000.0));
    const long nominal = static_cast<long>(quality.kbitPerSecond * 1000);
    if (nominal > 0 && f_.initByRate(&info_, channels, rate, -1, nominal, -1) == 0) return true;
    // No rate is below the one of the worst quality at 32 kbit/s.
    const float nearest = nominal == 0 ? quality.quality : nominal > 64000 ? 1.0f : -0.1f;
    f_.infoClear(&info_);
    f_.infoInit(&info_);
    return f_.initByQuality(&info_, channels, rate, nearest) == 0;
  }

  bool writeHeaders() {
    std::array<Packet, 3> packets;
    if (f_.headers(&analysis_, &comment_, &packets[0], &packets[1], &packets[2]) != 0) return fail(u"Out of memory");
    for (Packet& packet : packets) f_.packetIn(&stream_, &packet);
    // Sound begins on a page of its own (Vorbis I, appendix A).
    while (f_.flush(&stream_, &page_) != 0) writePage();
    return true;
  }

  bool writeSound() {
    const auto source = samples_.open();
    if (!source) return false;
    std::vector<float> interleaved(blockFrames * channels_);
    for (auto left = static_cast<uint64_t>(samples_.frames()); left > 0;) {
      const auto wanted = static_cast<std::size_t>(std::min<uint64_t>(left, blockFrames));
      const auto frames = source->read(std::span(interleaved).first(wanted * channels_));
      if (!frames) return false;
      if (*frames == 0) return fail(u"Reading from file failed");
      put(interleaved, *frames);
      drain();
      left -= *frames;
    }
    f_.wrote(&analysis_, 0);
    drain();
    return true;
  }

  void put(std::span<const float> interleaved, std::size_t frames) {
    float** planes = f_.buffer(&analysis_, static_cast<int>(frames));
    for (std::size_t channel = 0; channel < channels_; ++channel)
      for (std::size_t i = 0; i < frames; ++i) planes[channel][i] = interleaved[i * channels_ + channel];
    f_.wrote(&analysis_, static_cast<int>(frames));
  }

  /// Writes the pages that have become full; all of them after the end.
  void drain() {
    while (f_.blockOut(&analysis_, &block_) == 1) {
      f_.analyse(&block_, nullptr);
      f_.addBlock(&block_);
      while (f_.flushPacket(&analysis_, &packet_) != 0) {
        f_.packetIn(&stream_, &packet_);
        while (f_.pageOut(&stream_, &page_) != 0) writePage();
      }
    }
  }

  void writePage() {
    out_.insert(out_.end(), page_.header, page_.header + page_.headerBytes);
    out_.insert(out_.end(), page_.body, page_.body + page_.bodyBytes);
  }

  const Functions& f_;
  const SampleData& samples_;
  std::size_t channels_;
  std::vector<std::byte>& out_;
  Info info_;
  Comment comment_;
  Analysis analysis_;
  Block block_;
  Stream stream_;
  Packet packet_;
  Page page_;
  bool analysisReady_ = false, streamReady_ = false;
};

}  // namespace

std::optional<std::vector<std::byte>> encodeVorbis(const SampleData& samples, double sampleRate, VorbisQuality quality,
                                                   uint32_t serialNumber) {
  const auto* functions = codecFunctions<Functions>();
  if (!functions) return std::nullopt;
  std::vector<std::byte> out;
  if (!Encoder(*functions, samples, out).encode(sampleRate, quality, serialNumber)) return std::nullopt;
  return out;
}

}  // namespace tervo
