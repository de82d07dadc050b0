#pragma once
// Operations on songs. Each gives a new song and leaves the old one alone; null with LastErrorText when it can not be
// done or was cancelled. What they have in common: events keep their order at equal ticks, every note-on keeps its
// note-off, every track ends with an end of track, and a message without a status byte stays so where the standard
// allows it.

#include <memory>

#include "core/song.h"
#include "tools/operation.h"

namespace tervo {

enum class OutOfRange : uint8_t { octaves, remove };

struct Transposition {
  int semitones = 0;
  int channel = 0;     ///< 1..16; 0: all
  bool drums = false;  ///< also channel 10, whose keys are instruments
  OutOfRange outOfRange = OutOfRange::octaves;
};
/// Moves keys, and with them key pressure and the key signature.
std::unique_ptr<Song> transposed(const Song& song, const Transposition& by, const OperationContext& context);

enum class TimeUnit : uint8_t { seconds, quarters, ticks };

struct TrimRange {
  double start = -1;  ///< below 0: where the first note begins
  double end = -1;    ///< below 0: where the last note ends
  TimeUnit unit = TimeUnit::seconds;
};
/// Keeps what is heard between two times: notes that cross them are cut there, and what was set before (programs,
/// controllers, tempo) is set at the start.
std::unique_ptr<Song> trimmed(const Song& song, const TrimRange& range, const OperationContext& context);

/// Gives the song another division, as a header has it. Between ticks of quarter notes and ticks of frames the times in
/// seconds stay.
std::unique_ptr<Song> withDivision(const Song& song, uint16_t division, const OperationContext& context);

/// Format 0: one track. Format 1: a control track with everything that belongs to no channel, and a track a channel. A
/// song that has the format already stays as it is; one of format 2 is refused.
std::unique_ptr<Song> withFormat(const Song& song, int format, const OperationContext& context);

/// Kinds of events that can be removed, in the order of the choices in the table of operations.
enum class EventKind : uint8_t {
  notes,
  keyPressure,
  controllers,
  programs,
  channelPressure,
  pitchBend,
  exclusive,
  texts,
  tempo,
  signatures,
  otherMeta
};
struct Removal {
  uint32_t kinds = 0;  ///< bit k: EventKind k
  int channel = 0;     ///< of channel messages: 1..16; 0: all
};
std::unique_ptr<Song> withoutEvents(const Song& song, const Removal& removal, const OperationContext& context);

struct Compaction {
  bool noteOffs = true;     ///< note-off with the usual release velocity becomes note-on with velocity 0
  bool repetitions = true;  ///< messages that set what is set already go
  bool emptyTracks = true;  ///< tracks without events go
};
/// Makes the song shorter without changing what is heard: running status wherever it may be, and what is in `what`.
std::unique_ptr<Song> compacted(const Song& song, const Compaction& what, const OperationContext& context);

}  // namespace tervo
