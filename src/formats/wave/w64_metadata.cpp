#include "formats/wave/w64_metadata.h"

#include <algorithm>
#include <cmath>

#include "base/byte_reader.h"
#include "formats/wave/w64_chunks.h"

namespace tervo {
namespace {

struct MarkerRecord {
  LittleU32 id, reserved;
  LittleU64 position;
  LittleI64 length;
  LittleU32 nameBytes, reserved2;
};
static_assert(sizeof(MarkerRecord) == 32);

Text readUtf16(ByteReader& reader, std::size_t bytes) {
  Text text;
  ByteReader inner = reader.sub(std::min(bytes, reader.remaining()));
  while (inner.remaining() >= 2) text.push_back(static_cast<char16_t>(inner.little<uint16_t>()));
  return text.substr(0, text.find(u'\0'));
}

void writeUtf16(ByteWriter& writer, TextView text) {
  for (const char16_t c : text) writer.little(static_cast<uint16_t>(c));
}

int64_t frameOf(double position) {
  return static_cast<int64_t>(std::clamp(std::round(position), 0.0, 0x1p62));
}

}  // namespace

std::vector<NamedPoint> readW64Markers(std::span<const std::byte> body) {
  std::vector<NamedPoint> points;
  ByteReader reader(body);
  const auto count = reader.little<uint32_t>();
  for (uint32_t i = 0; i < count && reader.remaining() >= sizeof(MarkerRecord); ++i) {
    const auto record = reader.record<MarkerRecord>();
    const auto length = static_cast<double>(std::max<int64_t>(record.length, 0));
    points.push_back({record.id, static_cast<double>(record.position), length, readUtf16(reader, record.nameBytes)});
  }
  return points;
}

void writeW64Markers(ByteWriter& writer, const Waveform& waveform, ConversionReport& report) {
  std::vector<const Marker*> markers;
  for (const auto& marker : waveform.markers) {
    if (marker.type != MarkerType::loop) {
      markers.push_back(&marker);
    } else if (!marker.name.empty()) {
      report.dropped(waveform.name, u"name of a loop: " + marker.name, u"Wave-64 has no place for it");
    }
  }
  if (markers.empty()) return;
  const W64ChunkScope chunk(writer, w64Markers);
  writer.little(static_cast<uint32_t>(markers.size()));
  for (const auto* marker : markers) {
    MarkerRecord record;
    record.position = static_cast<uint64_t>(frameOf(marker->start));
    record.length = marker->type == MarkerType::section ? std::max<int64_t>(frameOf(marker->length()), 1) : -1;
    record.id = marker->foreignId;
    record.nameBytes = static_cast<uint32_t>(2 * (marker->name.size() + 1));
    writer.record(record);
    writeUtf16(writer, marker->name);
    writer.little<uint16_t>(0);
  }
}

void readW64Summary(std::span<const std::byte> body, Tags& tags, std::vector<KeptInfo>* kept) {
  ByteReader reader(body);
  const auto count = reader.little<uint32_t>();
  for (uint32_t i = 0; i < count && reader.remaining() >= 8; ++i) {
    const FourCC id = reader.fourCC();
    const Text text = readUtf16(reader, reader.little<uint32_t>());
    if (const auto tag = infoTagOf(id)) {
      tags[*tag] = text;
    } else if (kept && id != infoSoftware && isPrintable(id)) {
      const std::string utf8 = toUtf8(text);
      const auto bytes = std::as_bytes(std::span(utf8.c_str(), utf8.size() + 1));
      kept->push_back({id, {bytes.begin(), bytes.end()}});
    }
  }
}

void writeW64Summary(ByteWriter& writer, const Tags& tags, std::span<const KeptInfo> kept) {
  struct Entry {
    FourCC id;
    Text text;
  };
  std::vector<Entry> entries;
  forEachInfoTag(tags, [&](FourCC id, const Text& text) { entries.push_back({id, text}); });
  for (const auto& other : kept) {
    entries.push_back({other.id, fromFileText({reinterpret_cast<const char*>(other.body.data()), other.body.size()})});
  }
  entries.push_back({infoSoftware, fromUtf8(softwareName)});
  const W64ChunkScope chunk(writer, w64Summary);
  writer.little(static_cast<uint32_t>(entries.size()));
  for (const auto& entry : entries) {
    writer.record(entry.id);
    writer.little(static_cast<uint32_t>(2 * entry.text.size()));
    writeUtf16(writer, entry.text);
  }
}

}  // namespace tervo
