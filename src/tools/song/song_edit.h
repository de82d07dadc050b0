#pragma once
// What the operations on songs share.

#include <array>
#include <functional>
#include <memory>

#include "core/midi_track_writer.h"
#include "core/song.h"
#include "tools/operation.h"

namespace tervo {

/// A song without tracks; name, format and division of another one.
std::unique_ptr<Song> songLike(const Song& song);
/// Adds a track that is like another one but for its data.
void addTrackLike(Song& song, const Track& like, std::vector<std::byte> data);

/// The song with each track rewritten by `rewrite(track, index)`, which gives the new body. Null when cancelled.
std::unique_ptr<Song> rewriteTracks(const Song& song, const OperationContext& context,
                                    const std::function<std::vector<std::byte>(const Track&, std::size_t)>& rewrite);

/// Where the track's last event or end of track stands.
uint64_t endOf(const Track& track);
uint64_t endOf(const Song& song);

/// Whether a controller works on the next note only: portamento control, and the prefix of a fine velocity (MIDI 1.0,
/// CA-031).
bool isForNextNote(const MidiEvent& event);

/// A channel message of one's own: its data lives here.
class ChannelMessage {
 public:
  ChannelMessage(uint8_t status, uint8_t key, uint8_t value, bool runsOn = true)
      : data_{std::byte{key}, std::byte{value}} {
    event_.status = status;
    event_.runsOn = runsOn;
    event_.data = data_;
  }
  ChannelMessage(const ChannelMessage&) = delete;
  ChannelMessage& operator=(const ChannelMessage&) = delete;
  const MidiEvent& event() const { return event_; }

 private:
  std::array<std::byte, 2> data_;
  MidiEvent event_;
};

}  // namespace tervo
