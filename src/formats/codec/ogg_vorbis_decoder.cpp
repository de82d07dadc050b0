#include <algorithm>
#include <cstdio>

#include "base/last_error.h"
#include "formats/codec/codec_library.h"
#include "formats/codec/ogg_vorbis.h"
#include "formats/codec/stream_bytes.h"

namespace tervo {
namespace {

// The binary interface of libvorbisfile 3, which has not changed since 2002. `long` is the C type of the platform.

/// OggVorbis_File, of which nothing here looks inside: below 1 KiB on every platform.
struct alignas(16) VorbisFile {
  std::byte inside[4096] = {};
};

/// The first members of vorbis_info.
struct VorbisInfo {
  int version;
  int channels;
  long rate;
};

struct Callbacks {
  std::size_t (*read)(void* to, std::size_t size, std::size_t count, void* source);
  int (*seek)(void* source, int64_t offset, int whence);
  int (*close)(void* source);
  long (*tell)(void* source);
};

constexpr long hole = -3;  // bytes were skipped to the next page that makes sense

struct Functions {
  std::unique_ptr<platform::DynamicLibrary> library;
  int (*open)(void* source, VorbisFile* file, const char* initial, long initialBytes, Callbacks callbacks) = nullptr;
  int (*clear)(VorbisFile* file) = nullptr;
  VorbisInfo* (*info)(VorbisFile* file, int link) = nullptr;
  int (*seek)(VorbisFile* file, int64_t frame) = nullptr;
  long (*read)(VorbisFile* file, float*** channels, int frames, int* link) = nullptr;
  int64_t (*tell)(VorbisFile* file) = nullptr;

  bool load() {
    static constexpr TextView names[] = {u"libvorbisfile.so.3", u"libvorbisfile-3.dll", u"vorbisfile.dll"};
    library = openCodecLibrary(oggVorbisName, u"libvorbisfile", names);
    FunctionLookup look(library.get());
    look(open, "ov_open_callbacks")(clear, "ov_clear")(info, "ov_info")(seek, "ov_pcm_seek")(read, "ov_read_float");
    look(tell, "ov_pcm_tell");
    return look.ok();
  }
};

std::size_t readBytes(void* to, std::size_t size, std::size_t count, void* source) {
  if (size == 0) return 0;
  const std::span out(static_cast<std::byte*>(to), size * count);
  return static_cast<StreamBytes*>(source)->read(out) / size;
}

int seekBytes(void* source, int64_t offset, int whence) {
  auto& bytes = *static_cast<StreamBytes*>(source);
  const uint64_t base = whence == SEEK_SET ? 0 : whence == SEEK_CUR ? bytes.position() : bytes.size();
  return bytes.seek(base + static_cast<uint64_t>(offset)) ? 0 : -1;
}

long tellBytes(void* source) {
  return static_cast<long>(static_cast<StreamBytes*>(source)->position());
}

class VorbisStream final : public StreamDecoder {
 public:
  VorbisStream(const Functions& functions, const StoredSamples& stored, int channels)
      : functions_(functions), bytes_(stored), channels_(channels) {}
  ~VorbisStream() override {
    if (isOpen_) functions_.clear(&file_);
  }

  bool start(int64_t firstFrame) {
    // Without a way to seek the library does not look for the end first.
    const bool seeks = firstFrame > 0;
    const Callbacks callbacks{readBytes, seeks ? seekBytes : nullptr, nullptr, seeks ? tellBytes : nullptr};
    isOpen_ = functions_.open(&bytes_, &file_, nullptr, 0, callbacks) == 0;
    if (isOpen_ && seeks) ended_ = functions_.seek(&file_, firstFrame) != 0;
    next_ = firstFrame;
    return !bytes_.hasFailed() && (isOpen_ || fail(damagedStream));
  }

  std::optional<Block> next() override {
    const auto width = static_cast<std::size_t>(channels_);
    float** planes = nullptr;
    const long frames = ended_ ? 0 : decode(planes);
    if (bytes_.hasFailed()) return std::nullopt;
    ended_ = frames <= 0;
    const auto count = static_cast<std::size_t>(ended_ ? 0 : frames);
    decoded_.resize(count * width);
    for (std::size_t channel = 0; channel < width; ++channel)
      for (std::size_t i = 0; i < count; ++i) decoded_[i * width + channel] = planes[channel][i];
    // Pages say where their sound ends, which tells how much is missing by the end of the first one behind a hole.
    const int64_t first = sawDamage_ ? functions_.tell(&file_) - static_cast<int64_t>(count) : next_;
    next_ = first + static_cast<int64_t>(count);
    return Block{decoded_, first};
  }

 private:
  /// As ov_read_float. A stream that goes on with another number of channels ends there.
  long decode(float**& planes) {
    constexpr int most = 1 << 16;
    int link = 0;
    long frames = hole;
    while ((frames = functions_.read(&file_, &planes, most, &link)) == hole) sawDamage_ = true;
    const VorbisInfo* info = functions_.info(&file_, -1);
    return info && info->channels == channels_ ? frames : 0;
  }

  const Functions& functions_;
  StreamBytes bytes_;
  int channels_;
  VorbisFile file_;
  std::vector<float> decoded_;
  int64_t next_ = 0;
  bool isOpen_ = false, ended_ = false;
};

}  // namespace

bool canDecodeVorbis() {
  return codecFunctions<Functions>() != nullptr;
}

std::unique_ptr<StreamDecoder> openVorbis(const StoredSamples& stored, int channels, int64_t firstFrame) {
  const auto* functions = codecFunctions<Functions>();
  if (!functions) return nullptr;
  auto stream = std::make_unique<VorbisStream>(*functions, stored, channels);
  if (!stream->start(firstFrame)) return nullptr;
  return stream;
}

}  // namespace tervo
