#pragma once
// Builds the body of a track chunk from events: delta times, running status, the end of the track.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "core/midi_events.h"

namespace tervo {

enum class RunningStatus : uint8_t {
  asSource,  ///< a status byte is left out where the event came without one and may still do so
  always     ///< wherever it may
};

class MidiTrackWriter {
 public:
  explicit MidiTrackWriter(RunningStatus runningStatus = RunningStatus::asSource) : runningStatus_(runningStatus) {}

  /// Appends an event at a tick, which is not before that of the one before it. An end of track is not appended here.
  void add(uint64_t tick, const MidiEvent& event);
  /// Ends the track at the tick, or with its last event where that is later, and gives the bytes away.
  std::vector<std::byte> finish(uint64_t tick);

  bool isEmpty() const { return bytes_.empty(); }
  /// That of the last event.
  uint64_t tick() const { return tick_; }

 private:
  void addDelta(uint64_t tick);
  void addQuantity(uint32_t value);
  void addStatus(const MidiEvent& event);
  void addByte(uint8_t value) { bytes_.push_back(std::byte{value}); }

  RunningStatus runningStatus_;
  std::vector<std::byte> bytes_;
  uint64_t tick_ = 0;
  uint8_t lastStatus_ = 0;  ///< 0: the next channel message needs its status byte
};

}  // namespace tervo
