#pragma once
// Ticks and seconds: the tempo changes of a song, or of one track where tracks are songs of their own.

#include <cstdint>
#include <optional>
#include <vector>

#include "core/midi_events.h"
#include "core/song.h"

namespace tervo {

/// Microseconds per quarter note that an event sets; nothing for other events, cut ones and a tempo of 0.
std::optional<uint32_t> tempoOf(const MidiEvent& event);

class TempoMap {
 public:
  /// Formats 0 and 1: the tempo events of all tracks together, as players take them; of several at one tick the last
  /// one counts, tracks in order. Format 2: those of `track` alone.
  explicit TempoMap(const Song& song, std::size_t track = 0);

  /// Seconds from the start. Ticks are not limited to the song.
  double secondsAt(uint64_t tick) const;
  /// The tick, with its fraction, that is reached after so many seconds.
  double tickAt(double seconds) const;
  /// Microseconds per quarter note in effect at a tick.
  uint32_t tempoAt(uint64_t tick) const;

  static constexpr uint32_t defaultTempo = 500000;  ///< microseconds per quarter note: 120 a minute

 private:
  struct Segment {
    uint64_t tick;
    uint32_t tempo;
    double seconds;
    double secondsPerTick;
  };
  void setTempo(uint64_t tick, uint32_t tempo, double secondsPerTick);
  const Segment& segmentAt(uint64_t tick) const;

  std::vector<Segment> segments_;  ///< ascending; the first begins at tick 0
};

/// What the header's division says.
struct TickRate {
  explicit TickRate(uint16_t division);

  bool isSmpte;            ///< ticks are parts of frames; tempo has no say
  double ticksPerQuarter;  ///< where it is not SMPTE
  double ticksPerSecond;   ///< where it is
};

}  // namespace tervo
