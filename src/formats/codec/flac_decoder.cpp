#include <algorithm>

#include "base/byte_reader.h"
#include "base/last_error.h"
#include "formats/codec/codec_library.h"
#include "formats/codec/flac.h"
#include "formats/codec/stream_bytes.h"

namespace tervo {
namespace {

// The binary interface of the stream decoder, the same from libFLAC 8 (1.1.3) on. A decoder is opaque, and each
// callback's result of 0 means that all is well.

struct Decoder;

/// The first members of FLAC__Frame.
struct FrameHeader {
  uint32_t frames, sampleRate, channels;
  int channelAssignment;
  uint32_t bits;
  int numberType;
  uint64_t firstSample;  ///< where the number is one of samples, which the decoder makes it where it can
};
constexpr int numberOfSamples = 1;

enum : int { readContinue = 0, readEnd = 1, readAbort = 2 };
constexpr int writeAbort = 1, seekError = 1, decoderReady = 0;
constexpr int endOfStream = 4, aborted = 7;  // states of a decoder

struct Functions {
  using Read = int(const Decoder*, std::byte* to, std::size_t* bytes, void* client);
  using Seek = int(const Decoder*, uint64_t offset, void* client);
  using Tell = int(const Decoder*, uint64_t* offset, void* client);
  using AtEnd = int(const Decoder*, void* client);
  using Write = int(const Decoder*, const FrameHeader*, const int32_t* const* channels, void* client);
  using Metadata = void(const Decoder*, const void* metadata, void* client);
  using Error = void(const Decoder*, int status, void* client);

  std::unique_ptr<platform::DynamicLibrary> library;
  Decoder* (*make)() = nullptr;
  void (*remove)(Decoder*) = nullptr;
  int (*open)(Decoder*, Read*, Seek*, Tell*, Tell*, AtEnd*, Write*, Metadata*, Error*, void* client) = nullptr;
  int (*processOne)(Decoder*) = nullptr;
  int (*processHeaders)(Decoder*) = nullptr;
  int (*seek)(Decoder*, uint64_t frame) = nullptr;
  int (*state)(const Decoder*) = nullptr;

  bool load() {
    static constexpr TextView names[] = {u"libFLAC.so.12",  u"libFLAC.so.14", u"libFLAC.so.8", u"libFLAC-12.dll",
                                         u"libFLAC-14.dll", u"libFLAC-8.dll", u"libFLAC.dll",  u"FLAC.dll"};
    library = openCodecLibrary(flacName, u"libFLAC", names);
    FunctionLookup look(library.get());
    look(make, "FLAC__stream_decoder_new")(remove, "FLAC__stream_decoder_delete");
    look(open, "FLAC__stream_decoder_init_stream")(processOne, "FLAC__stream_decoder_process_single");
    look(processHeaders, "FLAC__stream_decoder_process_until_end_of_metadata");
    look(seek, "FLAC__stream_decoder_seek_absolute");
    look(state, "FLAC__stream_decoder_get_state");
    return look.ok();
  }
};

class FlacStream final : public StreamDecoder {
 public:
  FlacStream(const Functions& functions, const StoredSamples& stored, int channels)
      : f_(functions), bytes_(stored), channels_(static_cast<std::size_t>(channels)), decoder_(functions.make()) {}
  ~FlacStream() override {
    if (decoder_) f_.remove(decoder_);
  }

  bool start(int64_t firstFrame) {
    const bool isOpen = decoder_ &&
                        f_.open(decoder_, onRead, onSeek, onTell, onLength, onAtEnd, onWrite, onMetadata, onError,
                                this) == decoderReady &&
                        f_.processHeaders(decoder_) != 0;
    // A seek decodes the frames at its target already. One that fails leaves nothing to read.
    if (isOpen && firstFrame > 0) ended_ = f_.seek(decoder_, static_cast<uint64_t>(firstFrame)) == 0;
    return !bytes_.hasFailed() && (isOpen || fail(damagedStream));
  }

  std::optional<Block> next() override {
    // A seek has decoded the first block.
    if (isTaken_) decoded_.clear();
    isTaken_ = true;
    while (decoded_.empty() && !ended_) {
      const int state = f_.processOne(decoder_) != 0 ? f_.state(decoder_) : aborted;
      ended_ = state >= endOfStream;
    }
    if (outOfMemory_) setLastErrorText(u"Out of memory");
    if (outOfMemory_ || bytes_.hasFailed()) return std::nullopt;
    return Block{decoded_, decodedAt_};
  }

 private:
  bool isAtEnd() const { return bytes_.position() >= bytes_.size(); }

  static FlacStream& self(void* client) { return *static_cast<FlacStream*>(client); }

  static int onRead(const Decoder*, std::byte* to, std::size_t* bytes, void* client) {
    *bytes = self(client).bytes_.read({to, *bytes});
    if (*bytes == 0 && !self(client).isAtEnd()) return readAbort;
    return *bytes > 0 ? readContinue : readEnd;
  }
  static int onSeek(const Decoder*, uint64_t offset, void* client) {
    return self(client).bytes_.seek(offset) ? 0 : seekError;
  }
  static int onTell(const Decoder*, uint64_t* offset, void* client) {
    *offset = self(client).bytes_.position();
    return 0;
  }
  static int onLength(const Decoder*, uint64_t* length, void* client) {
    *length = self(client).bytes_.size();
    return 0;
  }
  static int onAtEnd(const Decoder*, void* client) { return self(client).isAtEnd() ? 1 : 0; }
  static int onWrite(const Decoder*, const FrameHeader* header, const int32_t* const* planes, void* client) {
    return self(client).keep(*header, planes) ? 0 : writeAbort;
  }
  static void onMetadata(const Decoder*, const void*, void*) {}
  static void onError(const Decoder*, int, void* client) { self(client).sawDamage_ = true; }

  /// Nothing may be thrown through the library.
  bool keep(const FrameHeader& header, const int32_t* const* planes) noexcept try {
    if (header.channels != channels_ || header.bits == 0 || header.bits > 32) return false;
    const float scale = 1 / static_cast<float>(uint64_t{1} << (header.bits - 1));
    const int64_t behind = decodedAt_ + static_cast<int64_t>(decodedFrames_);
    decodedFrames_ = header.frames;
    decodedAt_ = header.numberType == numberOfSamples && header.firstSample < uint64_t{1} << 62
                     ? static_cast<int64_t>(header.firstSample)
                     : behind;
    decoded_.resize(header.frames * channels_);
    for (std::size_t channel = 0; channel < channels_; ++channel)
      for (std::size_t i = 0; i < header.frames; ++i)
        decoded_[i * channels_ + channel] = static_cast<float>(planes[channel][i]) * scale;
    return true;
  } catch (const std::bad_alloc&) {
    outOfMemory_ = true;
    return false;
  }

  const Functions& f_;
  StreamBytes bytes_;
  std::size_t channels_;
  Decoder* decoder_;
  std::vector<float> decoded_;
  int64_t decodedAt_ = 0;
  uint32_t decodedFrames_ = 0;
  bool isTaken_ = false, ended_ = false, outOfMemory_ = false;
};

/// The number of frames of a stream that does not say it.
std::optional<uint64_t> countFrames(const StoredSamples& stored, int channels) {
  const auto stream = openFlac(stored, channels, 0);
  if (!stream) return std::nullopt;
  uint64_t total = 0;
  while (true) {
    const auto block = stream->next();
    if (!block) return std::nullopt;
    if (block->samples.empty()) return total;
    total = static_cast<uint64_t>(block->firstFrame) + block->samples.size() / static_cast<std::size_t>(channels);
  }
}

}  // namespace

bool canDecodeFlac() {
  return codecFunctions<Functions>() != nullptr;
}

std::optional<StreamFacts> flacFacts(const StoredSamples& stored) {
  constexpr std::size_t streamInfoBytes = 34;
  const auto head = stored.source->readUpTo(stored.offset, stored.bytes, 8 + streamInfoBytes);
  ByteReader reader(head);
  const bool isFlac = reader.fourCC() == FourCC("fLaC");
  const auto block = reader.big<uint32_t>();
  reader.skip(10);  // sizes of blocks and frames
  const auto numbers = reader.big<uint64_t>();
  reader.skip(16);  // digest of the samples
  const bool isStreamInfo = (block >> 24 & 0x7F) == 0 && (block & 0xFFFFFF) == streamInfoBytes;
  if (!reader.ok() || !isFlac || !isStreamInfo) return std::nullopt;
  StreamFacts facts;
  facts.coding = flacName;
  facts.sampleRate = static_cast<double>(numbers >> 44);
  facts.channels = static_cast<int>(numbers >> 41 & 7) + 1;
  facts.bits = static_cast<int>(numbers >> 36 & 31) + 1;
  std::optional<uint64_t> frames = numbers & 0xFFFFFFFFF;
  if (*frames == 0) frames = countFrames(stored, facts.channels);
  // The smallest frame of 65535 samples takes more than 8 bytes.
  if (!frames || *frames > stored.bytes * 8192) return std::nullopt;
  facts.frames = static_cast<int64_t>(*frames);
  return facts;
}

std::unique_ptr<StreamDecoder> openFlac(const StoredSamples& stored, int channels, int64_t firstFrame) {
  const auto* functions = codecFunctions<Functions>();
  if (!functions) return nullptr;
  auto stream = std::make_unique<FlacStream>(*functions, stored, channels);
  if (!stream->start(firstFrame)) return nullptr;
  return stream;
}

}  // namespace tervo
