#include "core/song.h"

#include <fmt/format.h>

#include <algorithm>

#include "core/item_owner.h"
#include "core/midi_events.h"
#include "core/tempo_map.h"

namespace tervo {

Track& Song::add(std::unique_ptr<Track> track) {
  return ItemOwner::adopt(*this, tracks_, std::move(track));
}

void Song::takeContent(Song& other) {
  auto& fresh = other.tracks_;
  tracks_.reserve(fresh.size());
  format = other.format;
  division = other.division;
  if (tracks_.size() > fresh.size()) tracks_.resize(fresh.size());
  const std::size_t kept = tracks_.size();
  for (std::size_t i = 0; i < kept; ++i) tracks_[i]->swapContent(*fresh[i]);
  fresh.erase(fresh.begin(), fresh.begin() + static_cast<std::ptrdiff_t>(kept));
  ItemOwner::moveAll(*this, tracks_, fresh);
}

void Track::swapContent(Track& other) noexcept {
  name.swap(other.name);
  data.swap(other.data);
  std::swap(sequenceNumber, other.sequenceNumber);
  std::swap(isControlTrack, other.isControlTrack);
}

void Song::swapContent(Song& other) noexcept {
  name.swap(other.name);
  std::swap(format, other.format);
  std::swap(division, other.division);
  ItemOwner::swapAll(*this, tracks_, other, other.tracks_);
}

Song* containingSong(ItemId id) {
  return containing<Song>(id);
}

bool trackHasNotes(const Track& track) {
  MidiEvents events(track.data);
  while (const auto event = events.next()) {
    if (event->isNote()) return true;
  }
  return false;
}

void nameTrack(const Song& song, Track& track, std::size_t place) {
  if (song.format == 0) {
    track.name = u"Master Track";
    return;
  }
  if (song.format == 1 && place == 0) {
    track.isControlTrack = !trackHasNotes(track);
    track.name = track.isControlTrack ? u"Control Track" : u"Track 01";
    return;
  }
  const auto tracks = song.tracks();
  const bool followsControlTrack = !tracks.empty() && tracks.front()->isControlTrack;
  track.name = fromUtf8(fmt::format("Track {:02}", place + (followsControlTrack ? 1 : 0)));
}

TrackSummary summaryOf(const Track& track) {
  TrackSummary summary;
  MidiEvents events(track.data);
  while (const auto event = events.next()) {
    ++summary.events;
    if (event->isNoteOn()) ++summary.notes;
    summary.ticks = event->tick;
  }
  return summary;
}

double lengthInSeconds(const Song& song) {
  const auto tracks = song.tracks();
  if (song.format == 2) {
    double seconds = 0;
    for (std::size_t i = 0; i < tracks.size(); ++i) seconds += TempoMap(song, i).secondsAt(summaryOf(*tracks[i]).ticks);
    return seconds;
  }
  uint64_t ticks = 0;
  for (const auto& track : tracks) ticks = std::max(ticks, summaryOf(*track).ticks);
  return TempoMap(song).secondsAt(ticks);
}

}  // namespace tervo
