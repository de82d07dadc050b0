#pragma once
// Markers of a WAV file: positions in "cue ", names and lengths in "LIST" "adtl" (Microsoft "Multimedia Programming
// Interface and Data Specifications 1.0").

#include <map>
#include <span>
#include <unordered_set>
#include <vector>

#include "base/byte_writer.h"
#include "core/waveform.h"
#include "formats/chunk_walker.h"

namespace tervo {

// One point of "cue ".
struct CuePoint {
  LittleU32 id, position;
  FourCC chunk;
  LittleU32 chunkStart, blockStart, sampleOffset;

  bool isInData() const { return chunk == FourCC("data") || chunk == FourCC(); }
  uint32_t frame() const { return position > sampleOffset ? position : sampleOffset; }
};
static_assert(sizeof(CuePoint) == 24);

// "ltxt": the length of what begins at a cue point; a text may follow.
struct LabeledText {
  LittleU32 cueId, length;
  FourCC purpose;
  LittleU16 country, language, dialect, codePage;
};
static_assert(sizeof(LabeledText) == 20);

/// A place in the samples, as either kind of file describes it.
struct NamedPoint {
  uint32_t id = 0;
  double position = 0;  ///< frames
  double length = 0;    ///< frames; 0: a position
  Text name;
};

/// Appends a marker for each point. Points named "Loop Range" (with a length, and only where `hasSampler` is false),
/// and the pair "Loop Start" and "Loop End" become loops: so do programs say it that write no "smpl".
void addMarkers(Waveform& waveform, std::span<const NamedPoint> points, bool hasSampler);

/// What the file says about one cue ID.
struct CueLabel {
  Text name;
  uint32_t length = 0;  ///< frames; 0: a position
};

/// Gathers cue points and labels while the chunks are read; they become markers when all of them are known.
class CueList {
 public:
  void readCues(std::span<const std::byte> body);
  /// Walks the sub-chunks of an "adtl" list.
  void readLabels(const ByteSource& source, const Chunk& list);

  /// Appends markers to the waveform. Points whose ID is a loop's only name that loop.
  void addMarkers(Waveform& waveform, const std::unordered_set<uint32_t>& loopCueIds, bool hasSampler) const;

  std::span<const CuePoint> points() const { return points_; }
  /// What is said about a cue ID; empty when nothing is.
  const CueLabel& labelOf(uint32_t cueId) const;
  /// Points that are not of the sample data, and so no markers.
  std::size_t ignoredPoints() const;

 private:
  void readLabel(FourCC id, std::span<const std::byte> body);

  std::vector<CuePoint> points_;
  std::map<uint32_t, CueLabel> labels_;
};

/// Sub-chunks of the source's "adtl" list, for what they hold beyond the model.
struct KeptLabel {
  FourCC id;
  uint32_t cueId = 0;
  std::vector<std::byte> body;
};
std::vector<KeptLabel> readKeptLabels(const ByteSource& source, const Chunk& list);

/// One line of the table that is written.
struct CueEntry {
  uint32_t id = 0;
  uint32_t position = 0;
  Text name;
  uint32_t length = 0;
};

/// Writes "cue " and, where there is anything to say, "LIST" "adtl". Labels that the model does not hold ("note" and
/// the like, and the language of an "ltxt") are taken from `kept` as long as their cue point is still there.
void writeCues(ByteWriter& writer, std::span<const CueEntry> cues, std::span<const KeptLabel> kept);

}  // namespace tervo
