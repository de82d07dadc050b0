#include <algorithm>
#include <cmath>

#include "base/last_error.h"
#include "formats/codec/codec_library.h"
#include "formats/codec/flac.h"

namespace tervo {
namespace {

// The binary interface of the stream encoder, the same from libFLAC 8 (1.1.3) on. An encoder is opaque, and each
// callback's result of 0 means that all is well.

struct Coder;

struct Functions {
  using Write = int(const Coder*, const std::byte* bytes, std::size_t count, uint32_t samples, uint32_t frame,
                    void* client);
  using Seek = int(const Coder*, uint64_t offset, void* client);
  using Tell = int(const Coder*, uint64_t* offset, void* client);
  using Metadata = void(const Coder*, const void* metadata, void* client);
  using Set = int(Coder*, uint32_t value);
  using SetFlag = int(Coder*, int value);

  std::unique_ptr<platform::DynamicLibrary> library;
  Coder* (*make)() = nullptr;
  void (*remove)(Coder*) = nullptr;
  SetFlag* setSubset = nullptr;
  Set* setChannels = nullptr;
  Set* setBits = nullptr;
  Set* setRate = nullptr;
  Set* setLevel = nullptr;
  int (*open)(Coder*, Write*, Seek*, Tell*, Metadata*, void* client) = nullptr;
  int (*process)(Coder*, const int32_t* interleaved, uint32_t frames) = nullptr;
  int (*finish)(Coder*) = nullptr;

  bool load() {
    static constexpr TextView names[] = {u"libFLAC.so.12",  u"libFLAC.so.14", u"libFLAC.so.8", u"libFLAC-12.dll",
                                         u"libFLAC-14.dll", u"libFLAC-8.dll", u"libFLAC.dll",  u"FLAC.dll"};
    library = openCodecLibrary(flacName, u"libFLAC", names);
    FunctionLookup look(library.get());
    look(make, "FLAC__stream_encoder_new")(remove, "FLAC__stream_encoder_delete");
    look(setSubset, "FLAC__stream_encoder_set_streamable_subset")(setChannels, "FLAC__stream_encoder_set_channels");
    look(setBits, "FLAC__stream_encoder_set_bits_per_sample")(setRate, "FLAC__stream_encoder_set_sample_rate");
    look(setLevel, "FLAC__stream_encoder_set_compression_level")(open, "FLAC__stream_encoder_init_stream");
    look(process, "FLAC__stream_encoder_process_interleaved")(finish, "FLAC__stream_encoder_finish");
    return look.ok();
  }
};

constexpr std::size_t blockFrames = 4096;
constexpr uint32_t usualLevel = 5;
constexpr double mostRate = 655350;  // Hz (RFC 9639, section 9.1.2)

/// What the coder has written, which it goes back in at the end to fill in counts and digest.
class Output {
 public:
  static int onWrite(const Coder*, const std::byte* bytes, std::size_t count, uint32_t, uint32_t, void* client) {
    return static_cast<Output*>(client)->write({bytes, count}) ? 0 : 1;
  }
  static int onSeek(const Coder*, uint64_t offset, void* client) {
    auto& self = *static_cast<Output*>(client);
    if (offset > self.bytes_.size()) return 1;
    self.position_ = static_cast<std::size_t>(offset);
    return 0;
  }
  static int onTell(const Coder*, uint64_t* offset, void* client) {
    *offset = static_cast<Output*>(client)->position_;
    return 0;
  }
  std::vector<std::byte> take() { return std::move(bytes_); }

 private:
  /// Nothing may be thrown through the library.
  bool write(std::span<const std::byte> bytes) noexcept try {
    if (position_ + bytes.size() > bytes_.size()) bytes_.resize(position_ + bytes.size());
    std::copy(bytes.begin(), bytes.end(), bytes_.begin() + static_cast<std::ptrdiff_t>(position_));
    position_ += bytes.size();
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  }

  std::vector<std::byte> bytes_;
  std::size_t position_ = 0;
};

int32_t quantised(float sample, double half) {
  // Samples that came from integers of this width become the same ones again.
  const double value = std::floor(double{sample} * half + 0.5);
  return value >= -half ? static_cast<int32_t>(std::min(value, half - 1)) : static_cast<int32_t>(-half);
}

bool encodeAll(const Functions& f, Coder& coder, const SampleData& samples, int bits, ClippingCount* clipping) {
  const auto source = samples.open();
  if (!source) return false;
  const auto channels = static_cast<std::size_t>(samples.channels());
  std::vector<float> block(blockFrames * channels);
  std::vector<int32_t> words(block.size());
  const double half = std::ldexp(1.0, bits - 1);
  for (auto left = static_cast<uint64_t>(samples.frames()); left > 0;) {
    const auto wanted = static_cast<std::size_t>(std::min<uint64_t>(left, blockFrames));
    const auto frames = source->read(std::span(block).first(wanted * channels));
    if (!frames) return false;
    if (*frames == 0) return fail(u"Reading from file failed");
    if (clipping) clipping->add(std::span(block).first(*frames * channels));
    std::transform(block.begin(), block.begin() + static_cast<std::ptrdiff_t>(*frames * channels), words.begin(),
                   [half](float sample) { return quantised(sample, half); });
    if (f.process(&coder, words.data(), static_cast<uint32_t>(*frames)) == 0) return fail(u"Out of memory");
    left -= *frames;
  }
  return f.finish(&coder) != 0 || fail(u"Out of memory");
}

}  // namespace

std::optional<std::vector<std::byte>> encodeFlac(const SampleData& samples, double sampleRate, int bits,
                                                 ClippingCount* clipping) {
  const auto* f = codecFunctions<Functions>();
  if (!f) return std::nullopt;
  const std::unique_ptr<Coder, void (*)(Coder*)> coder(f->make(), f->remove);
  if (!coder) return fail(u"Out of memory");
  Output output;
  const auto rate = static_cast<uint32_t>(std::clamp(std::round(sampleRate), 1.0, mostRate));
  const bool isReady = f->setSubset(coder.get(), 0) && f->setLevel(coder.get(), usualLevel) &&
                       f->setChannels(coder.get(), static_cast<uint32_t>(samples.channels())) &&
                       f->setBits(coder.get(), static_cast<uint32_t>(bits)) && f->setRate(coder.get(), rate) &&
                       f->open(coder.get(), Output::onWrite, Output::onSeek, Output::onTell, nullptr, &output) == 0;
  if (!isReady) return fail(u"The sound cannot be encoded as FLAC");
  if (!encodeAll(*f, *coder, samples, bits, clipping)) return std::nullopt;
  return output.take();
}

}  // namespace tervo
