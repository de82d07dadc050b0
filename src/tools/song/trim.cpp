#include <algorithm>
#include <array>
#include <cmath>
#include <deque>
#include <map>
#include <set>

#include "base/last_error.h"
#include "core/midi_events.h"
#include "core/tempo_map.h"
#include "tools/song/song_edit.h"
#include "tools/song/song_tools.h"

namespace tervo {
namespace {

struct TickRange {
  uint64_t start = 0, end = 0;
};

/// From the first note-on to the last note-off; empty without notes.
TickRange rangeOfNotes(const Song& song) {
  TickRange range{UINT64_MAX, 0};
  for (const auto& track : song.tracks()) {
    MidiEvents events(track->data);
    while (const MidiEvent* event = events.next()) {
      if (!event->isNote()) continue;
      if (event->isNoteOn()) range.start = std::min(range.start, event->tick);
      range.end = std::max(range.end, event->tick);
    }
  }
  return range;
}

uint64_t tickOf(double time, TimeUnit unit, const Song& song, const TempoMap& map) {
  constexpr double farAway = 1e15;  // ticks: behind every song, and exact
  const double ticks = unit == TimeUnit::seconds ? map.tickAt(time)
                       : unit == TimeUnit::ticks ? time
                                                 : time * TickRate(song.division).ticksPerQuarter;
  return static_cast<uint64_t>(std::floor(std::min(ticks, farAway) + 0.5));
}

/// What an event sets, where a later event of the same kind takes its place altogether; nothing for others. Banks,
/// programs, parameter numbers with their data, and channel modes work by their order, so all of them stay.
std::optional<int> replaceableSetting(const MidiEvent& event) {
  const int place = event.status << 8;
  if (event.isMeta(MetaType::tempo) || event.isMeta(MetaType::timeSignature) || event.isMeta(MetaType::keySignature))
    return place | event.metaType;
  if (event.kind() == MidiStatus::pitchBend || event.kind() == MidiStatus::channelPressure) return place;
  constexpr uint8_t bankHigh = 0, dataHigh = 6, bankLow = 32, dataLow = 38, firstOrdered = 96;
  const uint8_t number = event.key();
  if (event.kind() != MidiStatus::controller || number >= firstOrdered) return std::nullopt;
  if (number == bankHigh || number == bankLow || number == dataHigh || number == dataLow) return std::nullopt;
  return place | number;
}

/// Whether an event before the start has no meaning without its time: notes, what goes with them, words of the song.
bool belongsToItsTime(const MidiEvent& event) {
  if (event.isNote() || event.kind() == MidiStatus::keyPressure || isForNextNote(event)) return true;
  return event.status == MidiStatus::meta && event.metaType >= MetaType::lyric && event.metaType <= MetaType::cuePoint;
}

class TrackTrimmer {
 public:
  /// `tempo` is the tempo event that is in effect at the start, and the only one from before that stays.
  TrackTrimmer(const Track& track, TickRange range, const std::byte* tempo)
      : track_(track), range_(range), tempo_(tempo) {}

  std::vector<std::byte> trim() {
    MidiEvents events(track_.data);
    uint64_t end = 0;
    while (const MidiEvent* event = events.next()) {
      end = event->tick;
      if (event->tick >= range_.start) begin();
      if (event->tick < range_.start) {
        take(*event);
      } else if (isInside(*event)) {
        writer_.add(event->tick - range_.start, *event);
        noteSounds(*event);
      }
    }
    begin();
    endNotes();
    return writer_.finish(std::clamp(end, range_.start, range_.end) - range_.start);
  }

 private:
  bool isInside(const MidiEvent& event) const {
    return event.tick < range_.end || (event.tick == range_.end && !event.isNoteOn());
  }
  void take(const MidiEvent& event) {
    noteSounds(event);
    if (!belongsToItsTime(event)) before_.push_back(event);
  }
  /// Note-offs end the oldest note of their key.
  void noteSounds(const MidiEvent& event) {
    if (!event.isNote()) return;
    auto& notes = sounding_[event.channel() << 7 | event.key()];
    if (event.isNoteOn()) {
      notes.push_back(event.value());
    } else if (!notes.empty()) {
      notes.pop_front();
    }
  }
  /// Sets at the start what was set before it, and begins the notes that sound there.
  void begin() {
    if (begun_) return;
    begun_ = true;
    std::set<int> replaced;
    std::vector<const MidiEvent*> kept;
    for (auto event = before_.rbegin(); event != before_.rend(); ++event) {
      const auto setting = replaceableSetting(*event);
      const bool isOtherTempo = event->isMeta(MetaType::tempo) && event->data.data() != tempo_;
      if (!isOtherTempo && (!setting || replaced.insert(*setting).second)) kept.push_back(&*event);
    }
    for (auto event = kept.rbegin(); event != kept.rend(); ++event) writer_.add(0, **event);
    forEachSounding([&](uint8_t channel, uint8_t key, uint8_t velocity) {
      writer_.add(0, ChannelMessage(MidiStatus::noteOn | channel, key, velocity).event());
    });
  }
  void endNotes() {
    forEachSounding([&](uint8_t channel, uint8_t key, uint8_t) {
      writer_.add(range_.end - range_.start, ChannelMessage(MidiStatus::noteOn | channel, key, 0).event());
    });
  }
  template <typename Visit>
  void forEachSounding(Visit visit) {
    for (const auto& [place, notes] : sounding_) {
      for (const uint8_t velocity : notes)
        visit(static_cast<uint8_t>(place >> 7), static_cast<uint8_t>(place & 0x7F), velocity);
    }
  }

  const Track& track_;
  TickRange range_;
  const std::byte* tempo_;
  MidiTrackWriter writer_;
  std::vector<MidiEvent> before_;
  std::map<int, std::deque<uint8_t>> sounding_;  ///< by channel and key: velocities, oldest first
  bool begun_ = false;
};

/// The data of the tempo event that is in effect at a tick; of several at one tick the last one, tracks in order.
const std::byte* tempoInEffect(const Song& song, std::size_t track, uint64_t tick) {
  const std::byte* found = nullptr;
  uint64_t foundAt = 0;
  for (std::size_t i = 0; i < song.tracks().size(); ++i) {
    if (song.format == 2 && i != track) continue;
    MidiEvents events(song.tracks()[i]->data);
    while (const MidiEvent* event = events.next()) {
      if (event->tick > tick) break;
      if (!tempoOf(*event) || event->tick < foundAt) continue;
      found = event->data.data();
      foundAt = event->tick;
    }
  }
  return found;
}

TickRange tickRange(const Song& song, const TrimRange& asked, TickRange notes, std::size_t track) {
  const TempoMap map(song, track);
  TickRange range = notes;
  if (asked.start >= 0) range.start = tickOf(asked.start, asked.unit, song, map);
  if (asked.end >= 0) range.end = tickOf(asked.end, asked.unit, song, map);
  return range;
}

}  // namespace

std::unique_ptr<Song> trimmed(const Song& song, const TrimRange& asked, const OperationContext& context) {
  if (asked.unit == TimeUnit::quarters && TickRate(song.division).isSmpte)
    return fail(u"The song counts frames, not quarter notes");
  const TickRange notes = rangeOfNotes(song);
  const std::size_t timelines = song.format == 2 ? song.tracks().size() : 1;
  std::vector<TickRange> ranges;
  for (std::size_t i = 0; i < timelines; ++i) {
    ranges.push_back(tickRange(song, asked, notes, i));
    if (ranges[i].start >= ranges[i].end) return fail(u"Nothing would be left of the song");
  }
  const std::byte* tempo = nullptr;
  return rewriteTracks(song, context, [&](const Track& track, std::size_t index) {
    const TickRange range = ranges[std::min(index, timelines - 1)];
    if (index < timelines) tempo = tempoInEffect(song, index, range.start);
    return TrackTrimmer(track, range, tempo).trim();
  });
}

}  // namespace tervo
