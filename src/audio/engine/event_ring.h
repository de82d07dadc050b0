#pragma once
// MIDI messages on their way to the audio thread: posted by any thread, taken by the audio thread without waiting.

#include <atomic>
#include <cassert>
#include <cstdint>
#include <limits>
#include <vector>

namespace tervo::audio {

/// A channel message: status and up to two data bytes.
struct MidiMessage {
  uint8_t status = 0;
  uint8_t data1 = 0;
  uint8_t data2 = 0;

  uint8_t kind() const { return status & 0xF0; }
  uint8_t channel() const { return status & 0x0F; }
};

class EventRing {
 public:
  struct Event {
    int64_t time;  ///< in frames
    MidiMessage message;
  };

  /// One slot stays empty, so `capacity` - 1 events may wait.
  explicit EventRing(std::size_t capacity) : slots_(capacity) { assert(capacity > 0); }

  /// False when the ring is full. Posting threads wait for each other, never for the audio thread.
  bool push(const Event& event) noexcept {
    while (posting_.test_and_set(std::memory_order_acquire)) {
    }
    const std::size_t write = write_.load(), next = (write + 1) % slots_.size();
    const bool hasRoom = next != read_.load();
    if (hasRoom) {
      slots_[write] = event;
      write_.store(next);
    }
    posting_.clear(std::memory_order_release);
    return hasRoom;
  }

  /// Audio thread. Of the oldest event; later than anything when there is none.
  int64_t nextTime() const noexcept {
    const std::size_t read = read_.load();
    return read == write_.load() ? std::numeric_limits<int64_t>::max() : slots_[read].time;
  }
  /// Audio thread. Takes the oldest event unless its time is later than `now`.
  bool popUntil(int64_t now, MidiMessage& message) noexcept {
    const std::size_t read = read_.load();
    if (read == write_.load() || slots_[read].time > now) return false;
    message = slots_[read].message;
    slots_[read] = {};
    read_.store((read + 1) % slots_.size());
    return true;
  }

 private:
  std::vector<Event> slots_;
  std::atomic<std::size_t> read_{0};
  std::atomic<std::size_t> write_{0};
  std::atomic_flag posting_ = ATOMIC_FLAG_INIT;
};

}  // namespace tervo::audio
