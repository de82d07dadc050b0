#pragma once
// What the reader of a WAV or W64 file has gathered from its chunks so far, and how that becomes a waveform.

#include <optional>
#include <unordered_set>

#include "formats/wave/file_contents.h"
#include "formats/wave/wave_format.h"

namespace tervo {

struct WavContents : FileContents {
  explicit WavContents(const SourceFile& source) : FileContents(source, riffChunks) {}

  std::optional<WaveFormat> format;
  uint64_t statedFrames = 0;  ///< of "fact" or its like; 0 when nothing says
  bool hasSampler = false;
  std::unordered_set<uint32_t> loopCueIds;

  /// Chunks that both kinds of file have. The first "fmt " and "smpl" count. False with LastErrorText.
  bool readFormat(const Chunk& chunk);
  bool readSamplerChunk(const Chunk& chunk);
  bool readInstrument(const Chunk& chunk);
  /// What to do about a chunk that is cut off: true when the file is usable without it.
  bool readTruncated(const Chunk& chunk) const;

  /// Opens the sample data and puts the waveform into the collection. False with LastErrorText.
  bool finish(Collection& collection);

 private:
  void reportFrameCount() const;
};

}  // namespace tervo
