#include "base/last_error.h"
#include "core/midi_events.h"
#include "tools/song/song_edit.h"
#include "tools/song/song_tools.h"

namespace tervo {
namespace {

EventKind kindOfMeta(uint8_t type) {
  if (type >= MetaType::text && type <= MetaType::lastText) return EventKind::texts;
  if (type == MetaType::tempo) return EventKind::tempo;
  if (type == MetaType::timeSignature || type == MetaType::keySignature) return EventKind::signatures;
  return EventKind::otherMeta;
}

EventKind kindOfEvent(const MidiEvent& event) {
  switch (event.kind()) {
    case MidiStatus::noteOff:
    case MidiStatus::noteOn:
      return EventKind::notes;
    case MidiStatus::keyPressure:
      return EventKind::keyPressure;
    case MidiStatus::controller:
      return EventKind::controllers;
    case MidiStatus::program:
      return EventKind::programs;
    case MidiStatus::channelPressure:
      return EventKind::channelPressure;
    case MidiStatus::pitchBend:
      return EventKind::pitchBend;
    case MidiStatus::meta:
      return kindOfMeta(event.metaType);
    default:
      return EventKind::exclusive;
  }
}

bool isRemoved(const MidiEvent& event, const Removal& removal) {
  if (event.isChannel() && removal.channel > 0 && event.channel() != removal.channel - 1) return false;
  return removal.kinds >> static_cast<unsigned>(kindOfEvent(event)) & 1;
}

}  // namespace

std::unique_ptr<Song> withoutEvents(const Song& song, const Removal& removal, const OperationContext& context) {
  if (removal.kinds == 0) return fail(u"No kinds of events were chosen");
  return rewriteTracks(song, context, [&](const Track& track, std::size_t) {
    MidiTrackWriter writer;
    MidiEvents events(track.data);
    while (const MidiEvent* event = events.next()) {
      if (!isRemoved(*event, removal)) writer.add(event->tick, *event);
    }
    return writer.finish(endOf(track));
  });
}

}  // namespace tervo
