#pragma once
// What the reader of a WAV or W64 file has gathered from its chunks so far, and how that becomes a waveform.

#include <memory>
#include <optional>
#include <unordered_set>
#include <vector>

#include "core/collection.h"
#include "formats/chunk_walker.h"
#include "formats/format_table.h"
#include "formats/wave/wave_format.h"

namespace tervo {

struct WavContents {
  explicit WavContents(const SourceFile& source);

  const SourceFile& file;
  std::unique_ptr<Waveform> waveform;
  std::optional<WaveFormat> format;
  std::optional<Chunk> data;
  uint64_t statedFrames = 0;  ///< of "fact" or its like; 0 when nothing says
  bool hasSampler = false;
  std::unordered_set<uint32_t> loopCueIds;
  std::vector<Chunk> id3;

  const ByteSource& bytes() const { return *file.bytes; }
  /// Notes in the report what of the file does not reach the model.
  void dropped(TextView what, TextView why) const { file.report.dropped(waveform->name, what, why); }
  /// Lets the waveform carry the chunk (see wav_chunks.h).
  void keep(FourCC container, const Chunk& chunk);

  /// Chunks that both kinds of file have. The first "fmt " and "smpl" count. False with LastErrorText.
  bool readFormat(const Chunk& chunk);
  bool readSamplerChunk(const Chunk& chunk);
  bool readInstrument(const Chunk& chunk);
  bool readId3Chunk(const Chunk& chunk);
  /// Notes where the samples are; the first such chunk counts.
  void setData(const Chunk& chunk);
  /// What to do about a chunk that is cut off: true when the file is usable without it.
  bool readTruncated(const Chunk& chunk) const;

  /// Opens the sample data and puts the waveform into the collection. False with LastErrorText.
  bool finish(Collection& collection);

 private:
  void reportFrameCount() const;
};

/// A chunk's name as the report shows it.
Text textOf(FourCC id);

}  // namespace tervo
