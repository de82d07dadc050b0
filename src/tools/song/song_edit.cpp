#include "tools/song/song_edit.h"

#include <algorithm>

#include "base/last_error.h"

namespace tervo {

std::unique_ptr<Song> songLike(const Song& song) {
  auto result = std::make_unique<Song>();
  result->name = song.name;
  result->format = song.format;
  result->division = song.division;
  return result;
}

void addTrackLike(Song& song, const Track& like, std::vector<std::byte> data) {
  auto track = std::make_unique<Track>();
  track->name = like.name;
  track->sequenceNumber = like.sequenceNumber;
  track->isControlTrack = like.isControlTrack;
  track->data = std::move(data);
  song.add(std::move(track));
}

std::unique_ptr<Song> rewriteTracks(const Song& song, const OperationContext& context,
                                    const std::function<std::vector<std::byte>(const Track&, std::size_t)>& rewrite) {
  auto result = songLike(song);
  const auto tracks = song.tracks();
  for (std::size_t i = 0; i < tracks.size(); ++i) {
    if (!context.host.progress(static_cast<double>(i) / static_cast<double>(tracks.size()))) return fail(u"Cancelled");
    addTrackLike(*result, *tracks[i], rewrite(*tracks[i], i));
  }
  return result;
}

bool isForNextNote(const MidiEvent& event) {
  constexpr uint8_t portamentoControl = 84, finePrefix = 88;
  return event.kind() == MidiStatus::controller && (event.key() == portamentoControl || event.key() == finePrefix);
}

uint64_t endOf(const Track& track) {
  return summaryOf(track).ticks;
}

uint64_t endOf(const Song& song) {
  uint64_t end = 0;
  for (const auto& track : song.tracks()) end = std::max(end, endOf(*track));
  return end;
}

}  // namespace tervo
