#pragma once
// Sends a song to a MIDI port, message by message as they come due.

#include <optional>
#include <vector>

#include "core/song.h"
#include "platform/midi_port.h"

namespace tervo::audio {

class SongSender {
 public:
  /// Channel messages and system-exclusive ones; those that the file holds in parts are put together.
  /// `from`, in seconds: what sets up the sound before it is due at once, notes before it are left out.
  SongSender(platform::MidiOutput& port, const Song& song, double from = 0);

  /// When the next message is due, in seconds from where it starts; nothing at the end.
  std::optional<double> nextTime() const;
  /// False with LastErrorText.
  bool sendNext();
  /// Ends whatever sounds on all channels. False with LastErrorText.
  bool silence();

 private:
  struct Message {
    double seconds;
    std::vector<uint8_t> bytes;
  };

  void skipTo(double seconds);

  platform::MidiOutput& port_;
  std::vector<Message> messages_;
  std::size_t next_ = 0;
};

}  // namespace tervo::audio
