// Songs of any content, plain and in a RIFF form: read, walked, timed, saved again, and given to every operation.

#include <cstdlib>
#include <vector>

#include "base/byte_writer.h"
#include "core/collection.h"
#include "core/midi_events.h"
#include "core/tempo_map.h"
#include "formats/midi/midi_file.h"
#include "tools/operation.h"

using namespace tervo;

namespace {

void check(bool holds) {
  if (!holds) std::abort();
}

struct Files {
  Host host;
  ConversionReport report;
  Settings settings;

  bool read(Collection& collection, std::vector<std::byte> bytes, ReadFn reader) {
    return reader(collection, {std::make_shared<MemorySource>(std::move(bytes)), u"a.mid", host, report, settings}, 0);
  }
  /// A song is saved as it is, track for track, but for those that reading passes over.
  void saveAndCompare(const Song& song) {
    MemorySink sink;
    TargetFile target{sink, u"b.mid", host, report, settings, FormatTable()[243], {}};
    check(writeMidiSong(song, target, 0));
    check(sink.bytes().size() == midiFileBytes(song));
    Collection again;
    check(read(again, sink.take(), readMidiSong) && again.songs().size() == 1);
    const auto tracks = again.songs()[0]->tracks();
    check(tracks.size() == song.tracks().size());
    for (std::size_t i = 0; i < tracks.size(); ++i) check(tracks[i]->data == song.tracks()[i]->data);
  }
  void change(const Song& song, const Operation& operation) {
    Song copy;
    copy.format = song.format;
    copy.division = song.division;
    for (const auto& track : song.tracks()) copy.add(std::make_unique<Track>()).data = track->data;
    OptionValues values(operation.options);
    values.set(u"kinds", u"controllers,tempo,texts");
    values.set(u"semitones", u"9");
    if (!RunOperation(operation, copy, values, {host, report})) return;
    for (const auto& track : copy.tracks()) {
      MidiEvents events(track->data);
      bool ended = false;
      while (const MidiEvent* event = events.next()) ended = event->isMeta(MetaType::endOfTrack);
      // What an operation writes can be walked to its end, unless a data byte was none to begin with.
      check(operation.name == u"change-midi-format" || (ended && events.position() == track->data.size()));
    }
  }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const auto bytes = std::as_bytes(std::span(data, size));
  for (const ReadFn reader : {readMidiSong, readRmid}) {
    Files files;
    Collection collection;
    if (!files.read(collection, {bytes.begin(), bytes.end()}, reader)) continue;
    for (const auto& song : collection.songs()) {
      const TempoMap map(*song);
      const double seconds = lengthInSeconds(*song);
      check(seconds >= 0 && map.tickAt(seconds) >= 0);
      files.saveAndCompare(*song);
      for (const Operation& operation : Operations()) {
        if (operation.kind == ItemKind::song) files.change(*song, operation);
      }
    }
  }
  return 0;
}
