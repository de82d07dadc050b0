#include <optional>
#include <string>

#include "core/midi_events.h"
#include "tools/song/song_edit.h"
#include "tools/song/song_tools.h"

namespace tervo {
namespace {

constexpr uint8_t drumChannel = 9;
constexpr int keys = 128;

std::optional<uint8_t> movedKey(int key, const Transposition& by) {
  int moved = key + by.semitones;
  if (by.outOfRange == OutOfRange::octaves) {
    while (moved < 0) moved += 12;
    while (moved >= keys) moved -= 12;
  }
  if (moved < 0 || moved >= keys) return std::nullopt;
  return static_cast<uint8_t>(moved);
}

bool isMoved(const MidiEvent& event, const Transposition& by) {
  if (!event.isNote() && event.kind() != MidiStatus::keyPressure) return false;
  if (by.channel > 0) return event.channel() == by.channel - 1;
  return by.drums || event.channel() != drumChannel;
}

/// Sharps (above 0) or flats of the key signature; a semitone up is seven steps round the circle of fifths.
std::byte movedSignature(std::byte sharps, int semitones) {
  const int moved = static_cast<int8_t>(sharps) + 7 * semitones;
  const int wrapped = ((moved + 5) % 12 + 12) % 12 - 5;
  return static_cast<std::byte>(wrapped);
}

bool movesSignature(const MidiEvent& event, const Transposition& by) {
  return event.isMeta(MetaType::keySignature) && event.data.size() == 2 && by.channel == 0 && by.semitones % 12 != 0;
}

std::size_t transposeTrack(const Track& track, const Transposition& by, MidiTrackWriter& writer) {
  std::size_t lostNotes = 0;
  MidiEvents events(track.data);
  while (const MidiEvent* event = events.next()) {
    if (movesSignature(*event, by)) {
      const std::array data = {movedSignature(event->data[0], by.semitones), event->data[1]};
      MidiEvent moved = *event;
      moved.data = data;
      writer.add(event->tick, moved);
    } else if (isMoved(*event, by)) {
      const auto key = movedKey(event->key(), by);
      if (key) writer.add(event->tick, ChannelMessage(event->status, *key, event->value(), event->runsOn).event());
      if (!key && event->isNoteOn()) ++lostNotes;
    } else {
      writer.add(event->tick, *event);
    }
  }
  return lostNotes;
}

}  // namespace

std::unique_ptr<Song> transposed(const Song& song, const Transposition& by, const OperationContext& context) {
  std::size_t lostNotes = 0;
  auto result = rewriteTracks(song, context, [&](const Track& track, std::size_t) {
    MidiTrackWriter writer;
    lostNotes += transposeTrack(track, by, writer);
    return writer.finish(endOf(track));
  });
  if (result && lostNotes > 0)
    context.report.add({song.name, u"notes", ReportKind::dropped, fromUtf8(std::to_string(lostNotes)),
                        u"no MIDI key is so high or low"});
  return result;
}

}  // namespace tervo
