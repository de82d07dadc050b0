#pragma once
// Sample frames: immutable, shared by reference, and to everyone who asks interleaved 32-bit floats with full
// scale 1.0. They are held in memory, or stand in the file they came from and are decoded block by block when somebody
// reads them, so that opening a large file costs its header and converting it needs no more memory than a few blocks.

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "base/byte_source.h"
#include "core/sample_format.h"

namespace tervo {

/// One reading of sample data from front to back. Belongs to the thread that reads.
class SampleStream {
 public:
  virtual ~SampleStream() = default;

  /// Fills `out` with as many whole frames as fit and are left, and returns that number of frames; 0 at the end.
  /// Nothing, with LastErrorText set, when the source fails ("Reading from file failed").
  virtual std::optional<std::size_t> read(std::span<float> out) = 0;
};

/// The bytes that sample data was read from, for a writer that can use them as they are.
struct StoredSamples {
  std::shared_ptr<const ByteSource> source;
  uint64_t offset = 0;                ///< of the first byte in `source`
  uint64_t bytes = 0;                 ///< of sample data (both halves of split channels)
  uint64_t secondChannelOffset = 0;   ///< with SplitChannels: where the second channel begins
  SampleFormatWord format = 0;        ///< format bit and layout flags
  bool genericPcm = false;            ///< laid out exactly as the generic PCM import reads it
  std::vector<std::byte> waveFormat;  ///< body of the "fmt " chunk that describes the bytes, when they came from one
  Text coding;                        ///< of a compressed family: BlockDecoder::coding()
  bool isRearranged = false;          ///< the frames are not those of the file, or not in its order
};

/// What went wrong with frames while somebody read them.
struct SampleFaults {
  /// Null unless frames were damaged or missing, and silent; else what they are decoded from, which is the same for all
  /// that come from one stream.
  const void* damage = nullptr;
  uint64_t silenced = 0;  ///< samples that were no finite numbers and had to become 0
};

inline SampleFaults together(const SampleFaults& a, const SampleFaults& b) {
  return {a.damage ? a.damage : b.damage, a.silenced + b.silenced};
}

class SampleData {
 public:
  virtual ~SampleData() = default;

  int channels() const { return channels_; }
  int64_t frames() const { return frames_; }

  /// Starts reading at `firstFrame` (0..frames). Null with LastErrorText when the source cannot be read.
  virtual std::unique_ptr<SampleStream> open(int64_t firstFrame = 0) const = 0;
  /// All frames when they are in memory, interleaved; else empty.
  virtual std::span<const float> resident() const { return {}; }
  /// The stored bytes, when these frames are exactly what the source holds; else null.
  virtual const StoredSamples* stored() const { return nullptr; }
  /// Those that have shown so far. Any thread.
  virtual SampleFaults faults() const { return {}; }

 protected:
  SampleData(int channels, int64_t frames) : channels_(channels), frames_(frames) {}

 private:
  int channels_;
  int64_t frames_;
};

/// Reads past so many frames, or to the end. False with LastErrorText when the source fails.
bool skipFrames(SampleStream& stream, int64_t count, int channels);

/// How everything refers to sample data. A copy costs a reference count; the frames never change.
using SampleRef = std::shared_ptr<const SampleData>;

/// Frames in memory; interleaved.size() must be a multiple of channels.
SampleRef makeResident(std::vector<float> interleaved, int channels);
/// The same for frames that stand in memory which `owner` keeps alive.
SampleRef makeResident(std::span<const float> interleaved, int channels, std::shared_ptr<const void> owner);
/// The same frames, in memory. Null with LastErrorText when they cannot be read or memory is short.
SampleRef makeResident(const SampleRef& data);
/// The same frames with one channel (the mean of both) or two (the one twice); `data` itself when nothing changes.
SampleRef withChannels(const SampleRef& data, int channels);

}  // namespace tervo
