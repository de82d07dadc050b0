#pragma once
// Complete streams of codecs that libraries decode, such as the samples of compressed SoundFont banks. What a stream
// holds is read from its own headers, without the library, so that opening a file needs none; frames are decoded while
// they are read.

#include <functional>
#include <optional>

#include "core/sample_data.h"

namespace tervo {

/// The failure of a stream that makes no sense.
inline constexpr TextView damagedStream = u"Unknown or damaged compressed stream";

/// What a stream says about itself.
struct StreamFacts {
  TextView coding;  ///< "Ogg Vorbis", "FLAC"
  int channels = 0;
  double sampleRate = 0;  ///< Hz
  int bits = 0;           ///< of the samples; 0 where the coding loses some
  int64_t frames = 0;
  bool isCutOff = false;  ///< the end is missing
};

/// A stream that is decoded from one frame on. Belongs to the thread that decodes.
class StreamDecoder {
 public:
  virtual ~StreamDecoder() = default;

  struct Block {
    std::span<const float> samples = {};  ///< interleaved, until the next block; none at the end of the stream
    int64_t firstFrame = 0;               ///< where they belong
  };
  /// What the codec decodes at once. Nothing with LastErrorText when the source fails.
  virtual std::optional<Block> next() = 0;
  /// Whether bytes had to be passed over.
  bool sawDamage() const { return sawDamage_; }

 protected:
  bool sawDamage_ = false;
};

/// Null with LastErrorText when the library is not there, the stream makes no sense or the source fails.
using OpenDecoder = std::unique_ptr<StreamDecoder> (*)(const StoredSamples& stored, int channels, int64_t firstFrame);

struct CompressedCoding {
  TextView name;
  /// Nothing when the bytes are not such a stream.
  std::optional<StreamFacts> (*facts)(const StoredSamples& stored);
  OpenDecoder open;
  bool (*canDecode)();
};

/// What the stream that `stored` locates says; nothing with LastErrorText when it is none that is known, or damaged.
std::optional<StreamFacts> factsOfStream(const StoredSamples& stored);

/// Whether the library for a coding is there; false with LastErrorText.
bool canDecode(TextView coding);

/// Samples that stay compressed in their source and are decoded while they are read; frames that turn out to be missing
/// are silent, and faults() says so from then on. `stored.source`, offset and bytes locate the stream; the rest is
/// filled in. Null with LastErrorText for a coding that is not known.
SampleRef openCompressed(StoredSamples stored, const StreamFacts& facts);

}  // namespace tervo
