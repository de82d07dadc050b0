#pragma once
// What the reader of any file of chunks has gathered so far: the waveform, where its samples stand, and what goes into
// the report.

#include <memory>
#include <optional>
#include <vector>

#include "core/collection.h"
#include "formats/chunk_walker.h"
#include "formats/format_table.h"
#include "formats/wave/kept_chunks.h"

namespace tervo {

class FileContents {
 public:
  /// The waveform gets the name of the file.
  FileContents(const SourceFile& source, const ChunkContainers& containers);

  const SourceFile& file;
  std::unique_ptr<Waveform> waveform;
  std::optional<Chunk> data;

  const ByteSource& bytes() const { return *file.bytes; }
  /// Notes in the report what of the file does not reach the model, or not as it is.
  void dropped(TextView what, TextView why) const { file.report.dropped(waveform->name, what, why); }
  void approximated(TextView what, TextView from, TextView to) const {
    file.report.approximated(waveform->name, what, from, to);
  }

  /// Notes what stands behind the chunks.
  void reportStrayBytes(const ChunkWalker& walker) const;

  /// The body of a chunk that holds no samples. Empty, and reported, when it is longer than any that means something.
  std::vector<std::byte> load(const Chunk& chunk) const;

  /// Lets the waveform carry the chunk (see kept_chunks.h): one that the program understands, or, fillers apart, one
  /// that it does not.
  void keepKnown(const Chunk& chunk) { keep(containers_.known, chunk); }
  void keepForeign(const Chunk& chunk);

  /// Notes where the samples are; the first such chunk counts.
  void setData(const Chunk& chunk);
  bool readId3Chunk(const Chunk& chunk);

  /// Puts the waveform into the collection, with the tags of its ID3 chunks.
  void addTo(Collection& collection);

 private:
  void keep(FourCC container, const Chunk& chunk);

  ChunkContainers containers_;
  std::vector<Chunk> id3_;
};

/// A count as it is shown in the report.
Text countText(uint64_t count);

}  // namespace tervo
