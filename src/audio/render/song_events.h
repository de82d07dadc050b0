#pragma once
// A song as the engine plays it: channel messages at their times.

#include <cstdint>
#include <functional>
#include <map>
#include <vector>

#include "audio/engine/event_ring.h"
#include "audio/engine/zone.h"
#include "core/midi_events.h"
#include "core/song.h"

namespace tervo::audio {

struct TimedMessage {
  double seconds;
  MidiMessage message;
};

struct SongEvents {
  std::vector<TimedMessage> messages;  ///< by time; at equal times by track
  double seconds = 0;                  ///< to the end of the song
  std::size_t notes = 0;
  std::map<uint32_t, PlayedNotes> instruments;  ///< the numbers that its notes ask for, with the notes
};

/// Visits the events of a song in the order of playing, with their times. Tracks of format 2 follow one another.
void forEachInTime(const Song& song, const std::function<void(const MidiEvent&, double seconds)>& visit);

SongEvents flatten(const Song& song);

/// What is left of a song from a time on. Notes that began before stay out; everything else that was said before is
/// said at once, so that sounds, volumes and pedals are those of the place.
SongEvents startingAt(SongEvents events, double seconds);

}  // namespace tervo::audio
