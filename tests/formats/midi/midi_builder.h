#pragma once
// Standard MIDI Files made in memory, with any lie in their chunks; reading and writing without a disk.

#include <string_view>

#include "base/byte_writer.h"
#include "base/last_error.h"
#include "core/collection.h"
#include "formats/format_table.h"
#include "formats/midi/midi_file.h"
#include "tests/core/song_builder.h"

namespace tervo::test {

class MidiBuilder {
 public:
  MidiBuilder& header(uint16_t format, uint16_t tracks, uint16_t division = 96, uint32_t size = 6) {
    writer_.chars("MThd");
    writer_.big(size);
    writer_.big(format);
    writer_.big(tracks);
    writer_.big(division);
    return *this;
  }
  MidiBuilder& track(const TrackBytes& body) { return chunk("MTrk", body); }
  MidiBuilder& chunk(std::string_view id, const TrackBytes& body) {
    return chunkSaying(id, static_cast<uint32_t>(body.size()), body);
  }
  MidiBuilder& chunkSaying(std::string_view id, uint32_t size, const TrackBytes& body) {
    writer_.chars(id);
    writer_.big(size);
    return raw(body);
  }
  MidiBuilder& raw(const TrackBytes& bytes) {
    writer_.bytes(bytes);
    return *this;
  }
  MidiBuilder& raw(std::string_view bytes) {
    writer_.chars(bytes);
    return *this;
  }
  const TrackBytes& bytes() const { return sink_.bytes(); }

 private:
  MemorySink sink_;
  ByteWriter writer_{sink_};
};

inline TrackBytes notesTrack(int key = 60) {
  return trackBytes({0, 0x90, key, 64, 96, key, 0, 0, 0xFF, 0x2F, 0});
}
inline TrackBytes tempoTrack() {
  return trackBytes({0, 0xFF, 0x51, 3, 7, 0xA1, 0x20, 0, 0xFF, 0x2F, 0});
}

/// The RIFF form of type "RMID" around these chunks, which are given with their headers.
inline TrackBytes rmid(const TrackBytes& chunks, std::string_view type = "RMID") {
  MemorySink sink;
  ByteWriter writer(sink);
  {
    const ChunkScope form(writer, "RIFF");
    writer.chars(type);
    writer.bytes(chunks);
  }
  return sink.take();
}
inline TrackBytes riffChunk(FourCC id, const TrackBytes& body) {
  MemorySink sink;
  ByteWriter writer(sink);
  {
    const ChunkScope chunk(writer, id);
    writer.bytes(body);
  }
  return sink.take();
}

/// A file that has been read.
struct ReadMidi {
  Host host;
  Settings settings;
  ConversionReport report;
  Collection collection;
  bool ok = false;

  explicit ReadMidi(const TrackBytes& bytes, ReadFn read = readMidiSong) {
    const SourceFile file{std::make_shared<MemorySource>(bytes), u"folder/tune.mid", host, report, settings};
    setLastErrorText({});
    ok = read(collection, file, 0);
  }
  const Song& song() const { return *collection.songs().front(); }
  bool reported(TextView what) const {
    for (const auto& entry : report.entries())
      if (entry.what == what) return true;
    return false;
  }
  TrackBytes written(WriteFn write = writeMidiSong, FormatIndex row = 243) {
    MemorySink sink;
    TargetFile file{sink, u"a.mid", host, report, settings, FormatTable()[static_cast<std::size_t>(row)], {}};
    return write(song(), file, 0) ? sink.take() : TrackBytes{};
  }
};

}  // namespace tervo::test
