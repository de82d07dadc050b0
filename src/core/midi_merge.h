#pragma once
// The events of all tracks of a song in the order in which they are played.

#include <queue>
#include <vector>

#include "core/midi_events.h"
#include "core/song.h"

namespace tervo {

/// Walks the tracks of a song side by side, by tick; at equal ticks by track, and within a track in its order. The end
/// of each track is delivered too. The song has to stay as it is meanwhile.
class MergedEvents {
 public:
  struct Place {
    const MidiEvent* event;  ///< null at the end; there until the next call
    std::size_t track;
  };

  explicit MergedEvents(const Song& song);
  Place next();

 private:
  struct Waiting {
    uint64_t tick;
    std::size_t track;
    bool operator>(const Waiting& other) const { return tick != other.tick ? tick > other.tick : track > other.track; }
  };
  void advance(std::size_t track);

  std::vector<MidiEvents> walks_;
  std::vector<const MidiEvent*> heads_;
  std::priority_queue<Waiting, std::vector<Waiting>, std::greater<>> queue_;
  std::size_t delivered_;
};

}  // namespace tervo
