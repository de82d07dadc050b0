#include "formats/wave/wav_markers.h"

#include <algorithm>
#include <optional>

#include "base/byte_reader.h"

namespace tervo {
namespace {

constexpr FourCC labl = "labl", ltxt = "ltxt";
constexpr TextView rangeName = u"Loop Range", startName = u"Loop Start", endName = u"Loop End";

Marker makeLoop(double start, double end) {
  Marker loop;
  loop.type = MarkerType::loop;
  loop.loopType = LoopType::forward;
  loop.start = start;
  loop.end = end;
  return loop;
}

Marker makeMarker(const NamedPoint& point) {
  Marker marker;
  marker.type = point.length > 0 ? MarkerType::section : MarkerType::position;
  marker.name = point.name;
  marker.start = point.position;
  marker.end = marker.start + std::max(point.length, 1.0);
  marker.foreignId = point.id;
  return marker;
}

// "note", "ltxt", "labl" and "file" all begin with the cue ID.
uint32_t cueIdOf(std::span<const std::byte> body) {
  return ByteReader(body).little<uint32_t>();
}

template <typename Visit>
void walkLabels(const ByteSource& source, const Chunk& list, const Visit& visit) {
  ChunkWalker walker(source, list.body + 4, list.body + list.bytes);
  while (const auto chunk = walker.next()) visit(chunk->id, loadChunk(source, *chunk));
}

void writeLabel(ByteWriter& writer, const CueEntry& cue) {
  const ChunkScope chunk(writer, labl);
  writer.little<uint32_t>(cue.id);
  writer.chars(toUtf8(cue.name));
  writer.u8(0);
}

void writeLength(ByteWriter& writer, const CueEntry& cue, std::span<const KeptLabel> kept) {
  LabeledText text{cue.id, cue.length, "rgn ", 0, 0, 0, 0};
  const auto previous = std::find_if(kept.begin(), kept.end(), [&](const KeptLabel& label) {
    return label.id == ltxt && label.cueId == cue.id && label.body.size() >= sizeof(LabeledText);
  });
  std::span<const std::byte> tail;
  if (previous != kept.end()) {
    ByteReader reader(previous->body);
    text = reader.record<LabeledText>();
    text.length = cue.length;
    tail = reader.take(reader.remaining());
  }
  const ChunkScope chunk(writer, ltxt);
  writer.record(text);
  writer.bytes(tail);
}

}  // namespace

void CueList::readCues(std::span<const std::byte> body) {
  ByteReader reader(body);
  const std::size_t count = std::min<std::size_t>(reader.little<uint32_t>(), reader.remaining() / sizeof(CuePoint));
  points_.reserve(points_.size() + count);
  for (std::size_t i = 0; i < count; ++i) points_.push_back(reader.record<CuePoint>());
}

void CueList::readLabels(const ByteSource& source, const Chunk& list) {
  walkLabels(source, list, [this](FourCC id, const std::vector<std::byte>& body) { readLabel(id, body); });
}

void CueList::readLabel(FourCC id, std::span<const std::byte> body) {
  ByteReader reader(body);
  if (id == labl) {
    const auto cueId = reader.little<uint32_t>();
    if (reader.ok()) labels_[cueId].name = fromFileText(reader.chars(reader.remaining()));
  } else if (id == ltxt) {
    const auto text = reader.record<LabeledText>();
    if (!reader.ok()) return;
    CueLabel& label = labels_[text.cueId];
    label.length = text.length;
    if (label.name.empty()) label.name = fromFileText(reader.chars(reader.remaining()));
  }
}

const CueLabel& CueList::labelOf(uint32_t cueId) const {
  static const CueLabel none;
  const auto label = labels_.find(cueId);
  return label == labels_.end() ? none : label->second;
}

std::size_t CueList::ignoredPoints() const {
  return static_cast<std::size_t>(
      std::count_if(points_.begin(), points_.end(), [](const CuePoint& p) { return !p.isInData(); }));
}

void CueList::addMarkers(Waveform& waveform, const std::unordered_set<uint32_t>& loopCueIds, bool hasSampler) const {
  for (auto& marker : waveform.markers) {
    if (loopCueIds.contains(marker.foreignId)) marker.name = labelOf(marker.foreignId).name;
  }
  std::vector<NamedPoint> points;
  for (const auto& point : points_) {
    if (!point.isInData() || loopCueIds.contains(point.id)) continue;
    const CueLabel& label = labelOf(point.id);
    points.push_back({point.id, static_cast<double>(point.frame()), static_cast<double>(label.length), label.name});
  }
  tervo::addMarkers(waveform, points, hasSampler);
}

void addMarkers(Waveform& waveform, std::span<const NamedPoint> points, bool hasSampler) {
  std::optional<double> loopStart, loopEnd;
  std::vector<Marker> plain, ends;
  for (const auto& point : points) {
    if (point.name == rangeName && point.length > 0 && !hasSampler) {
      waveform.markers.push_back(makeLoop(point.position, point.position + point.length));
    } else if (point.name == startName || point.name == endName) {
      (point.name == startName ? loopStart : loopEnd) = point.position;
      ends.push_back(makeMarker(point));
    } else {
      plain.push_back(makeMarker(point));
    }
  }
  if (loopStart && loopEnd && *loopStart < *loopEnd) {
    waveform.markers.push_back(makeLoop(*loopStart, *loopEnd));
    ends.clear();
  }
  // Ends that make no loop stay what they are, so that nothing is lost.
  for (const auto& more : {plain, ends}) waveform.markers.insert(waveform.markers.end(), more.begin(), more.end());
}

std::vector<KeptLabel> readKeptLabels(const ByteSource& source, const Chunk& list) {
  std::vector<KeptLabel> kept;
  walkLabels(source, list, [&](FourCC id, std::vector<std::byte> body) {
    if (id == labl || body.size() < 4) return;
    const uint32_t cueId = cueIdOf(body);
    kept.push_back({id, cueId, std::move(body)});
  });
  return kept;
}

void writeCues(ByteWriter& writer, std::span<const CueEntry> cues, std::span<const KeptLabel> kept) {
  {
    const ChunkScope chunk(writer, "cue ");
    writer.little(static_cast<uint32_t>(cues.size()));
    for (const auto& cue : cues) writer.record(CuePoint{cue.id, cue.position, "data", 0, 0, cue.position});
  }
  std::unordered_set<uint32_t> ids;
  for (const auto& cue : cues) ids.insert(cue.id);
  const auto isKept = [&](const KeptLabel& label) { return label.id != ltxt && ids.contains(label.cueId); };
  const auto hasLabel = [](const CueEntry& cue) { return !cue.name.empty() || cue.length > 0; };
  if (!std::any_of(cues.begin(), cues.end(), hasLabel) && !std::any_of(kept.begin(), kept.end(), isKept)) return;

  const ChunkScope list(writer, "LIST");
  writer.chars("adtl");
  for (const auto& cue : cues) {
    if (!cue.name.empty()) writeLabel(writer, cue);
  }
  for (const auto& cue : cues) {
    if (cue.length > 0) writeLength(writer, cue, kept);
  }
  for (const auto& label : kept) {
    if (!isKept(label)) continue;
    const ChunkScope chunk(writer, label.id);
    writer.bytes(label.body);
  }
}

}  // namespace tervo
