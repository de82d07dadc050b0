#include "audio/render/song_events.h"

#include <algorithm>

#include "audio/engine/channel.h"
#include "audio/engine/units.h"
#include "core/midi_merge.h"
#include "core/tempo_map.h"

namespace tervo::audio {
namespace {

class Flattener {
 public:
  void add(const MidiEvent& event, double seconds) {
    events_.seconds = std::max(events_.seconds, seconds);
    if (!event.isChannel()) return;
    events_.messages.push_back({seconds, {event.status, event.key(), event.value()}});
    Channel& channel = channels_[event.channel()];
    if (event.kind() == MidiStatus::program) channel.setProgram(event.key());
    if (event.kind() == MidiStatus::controller && isBank(event.key()))
      channel.setController(event.key(), event.value(), true);
    // The soft pedal changes velocities.
    if (event.kind() == MidiStatus::controller && event.key() == Controller::soft) isSoft_ = true;
    if (!event.isNoteOn()) return;
    ++events_.notes;
    events_.instruments[channel.instrumentNumber()].add(event.key(), event.value());
  }
  SongEvents take() {
    for (auto& [number, notes] : events_.instruments)
      if (isSoft_) notes.addAll();
    return std::move(events_);
  }

 private:
  static bool isBank(uint8_t controller) {
    return controller == Controller::bankMsb || controller == Controller::bankLsb;
  }

  SongEvents events_;
  bool isSoft_ = false;
  std::vector<Channel> channels_ = [] {
    std::vector<Channel> channels;
    for (int i = 0; i < midiChannels; ++i) channels.emplace_back(i);
    return channels;
  }();
};

void visitInARow(const Song& song, const std::function<void(const MidiEvent&, double)>& visit) {
  double start = 0;
  for (std::size_t track = 0; track < song.tracks().size(); ++track) {
    const TempoMap tempo(song, track);
    double end = start;
    MidiEvents events(song.tracks()[track]->data);
    while (const MidiEvent* event = events.next()) {
      end = start + tempo.secondsAt(event->tick);
      visit(*event, end);
    }
    start = end;
  }
}

}  // namespace

void forEachInTime(const Song& song, const std::function<void(const MidiEvent&, double)>& visit) {
  if (song.format == 2) return visitInARow(song, visit);
  const TempoMap tempo(song);
  MergedEvents merged(song);
  for (auto place = merged.next(); place.event; place = merged.next())
    visit(*place.event, tempo.secondsAt(place.event->tick));
}

SongEvents flatten(const Song& song) {
  Flattener flattener;
  forEachInTime(song, [&](const MidiEvent& event, double seconds) { flattener.add(event, seconds); });
  return flattener.take();
}

SongEvents startingAt(SongEvents events, double seconds) {
  const auto isPastNote = [&](const TimedMessage& timed) {
    const uint8_t kind = timed.message.kind();
    const bool isNote = kind == MidiStatus::noteOn || kind == MidiStatus::noteOff || kind == MidiStatus::keyPressure;
    return isNote && timed.seconds < seconds;
  };
  std::erase_if(events.messages, isPastNote);
  for (TimedMessage& timed : events.messages) timed.seconds = std::max(timed.seconds - seconds, 0.0);
  events.seconds = std::max(events.seconds - seconds, 0.0);
  return events;
}

}  // namespace tervo::audio
