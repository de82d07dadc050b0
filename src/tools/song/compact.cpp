#include <algorithm>
#include <array>
#include <optional>

#include "base/last_error.h"
#include "core/midi_merge.h"
#include "tools/song/song_edit.h"
#include "tools/song/song_tools.h"

namespace tervo {
namespace {

constexpr uint8_t usualRelease = 64;  // MIDI 1.0: the velocity of a note-off that has none of its own

/// Controllers whose repetition says nothing new. The others are parts of sequences (banks, data entry and its
/// parameter numbers, what goes with the next note) or commands (channel mode).
bool onlySets(const MidiEvent& event) {
  const uint8_t controller = event.key();
  constexpr uint8_t bankHigh = 0, dataHigh = 6, bankLow = 32, dataLow = 38, firstParameter = 96, lastParameter = 101,
                    firstMode = 120;
  if (isForNextNote(event)) return false;
  if (controller == bankHigh || controller == bankLow || controller == dataHigh || controller == dataLow) return false;
  return !(controller >= firstParameter && controller <= lastParameter) && controller < firstMode;
}

/// What the song has set so far. It knows nothing of a value after something that may change it in other ways.
class ChannelState {
 public:
  /// Whether the event sets what is set already.
  bool repeats(const MidiEvent& event) {
    if (!event.isChannel()) {
      if (event.status != MidiStatus::meta) channels_ = {};
      return false;
    }
    Channel& channel = channels_[event.channel()];
    const int both = event.key() | event.value() << 7;
    if (event.kind() == MidiStatus::pitchBend) return same(channel.bend, both);
    if (event.kind() == MidiStatus::channelPressure) return same(channel.pressure, event.key());
    if (event.kind() != MidiStatus::controller) return false;
    if (onlySets(event)) return same(channel.controllers[event.key()], event.value());
    constexpr uint8_t resetAll = 121;
    if (event.key() == resetAll) channel = {};
    return false;
  }

 private:
  struct Channel {
    std::optional<int> bend, pressure;
    std::array<std::optional<int>, 128> controllers;
  };
  static bool same(std::optional<int>& known, int value) {
    const bool repeated = known == value;
    known = value;
    return repeated;
  }
  std::array<Channel, 16> channels_;
};

bool isUsualNoteOff(const MidiEvent& event) {
  return event.kind() == MidiStatus::noteOff && (event.value() == usualRelease || event.value() == 0);
}

void addCompact(MidiTrackWriter& writer, const MidiEvent& event, const Compaction& what) {
  if (!what.noteOffs || !isUsualNoteOff(event)) return writer.add(event.tick, event);
  const auto status = static_cast<uint8_t>(MidiStatus::noteOn | event.channel());
  writer.add(event.tick, ChannelMessage(status, event.key(), 0).event());
}

/// Several ports share the numbers of channels, and the tracks of format 2 are played apart: nothing is known then.
bool knowsWhatIsSet(const Song& song) {
  if (song.format == 2) return false;
  for (const auto& track : song.tracks()) {
    MidiEvents events(track->data);
    while (const MidiEvent* event = events.next()) {
      if (event->isMeta(MetaType::port)) return false;
    }
  }
  return true;
}

}  // namespace

std::unique_ptr<Song> compacted(const Song& song, const Compaction& what, const OperationContext& context) {
  const auto tracks = song.tracks();
  std::vector<MidiTrackWriter> writers(tracks.size(), MidiTrackWriter(RunningStatus::always));
  const bool repetitions = what.repetitions && knowsWhatIsSet(song);
  ChannelState state;
  MergedEvents events(song);
  for (auto place = events.next(); place.event; place = events.next()) {
    if (!(repetitions && state.repeats(*place.event))) addCompact(writers[place.track], *place.event, what);
  }
  if (!context.host.progress(0.5)) return fail(u"Cancelled");

  uint64_t keptEnd = 0;
  for (std::size_t i = 0; i < tracks.size(); ++i) {
    if (!writers[i].isEmpty()) keptEnd = std::max(keptEnd, endOf(*tracks[i]));
  }
  auto result = songLike(song);
  for (std::size_t i = 0; i < tracks.size(); ++i) {
    const uint64_t end = endOf(*tracks[i]);
    // A track without events that lasts longest says how long the song is.
    const bool canGo = what.emptyTracks && song.format == 1 && writers[i].isEmpty() && end <= keptEnd && keptEnd > 0;
    if (!canGo) addTrackLike(*result, *tracks[i], writers[i].finish(end));
  }
  return result;
}

}  // namespace tervo
