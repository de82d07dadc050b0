#include <array>

#include "base/last_error.h"
#include "core/midi_merge.h"
#include "tools/song/song_edit.h"
#include "tools/song/song_tools.h"

namespace tervo {
namespace {

constexpr std::size_t channels = 16;

bool usesSeveralPorts(const Song& song) {
  int port = -1;
  for (const auto& track : song.tracks()) {
    MidiEvents events(track->data);
    while (const MidiEvent* event = events.next()) {
      if (!event->isMeta(MetaType::port) || event->data.empty()) continue;
      const int named = static_cast<int>(event->data[0]);
      if (port >= 0 && named != port) return true;
      port = named;
    }
  }
  return false;
}

void addNamed(Song& song, std::vector<std::byte> data) {
  auto track = std::make_unique<Track>();
  track->data = std::move(data);
  nameTrack(song, *track, song.tracks().size());
  song.add(std::move(track));
}

std::unique_ptr<Song> inOneTrack(const Song& song, const OperationContext& context) {
  auto result = songLike(song);
  result->format = 0;
  MidiTrackWriter writer;
  MergedEvents events(song);
  for (auto place = events.next(); place.event; place = events.next()) writer.add(place.event->tick, *place.event);
  addNamed(*result, writer.finish(endOf(song)));
  if (usesSeveralPorts(song))
    context.report.approximated(song.name, u"MIDI ports", u"several", u"one: their channels are the same now");
  return result;
}

/// The first track, whichever that is, lasts as long as the song did.
std::unique_ptr<Song> inChannelTracks(const Song& song) {
  auto result = songLike(song);
  result->format = 1;
  std::array<MidiTrackWriter, channels + 1> writers;  // the last one: what belongs to no channel
  MergedEvents events(song);
  for (auto place = events.next(); place.event; place = events.next())
    writers[place.event->isChannel() ? place.event->channel() : channels].add(place.event->tick, *place.event);
  const uint64_t end = endOf(song);
  const auto add = [&](MidiTrackWriter& writer) {
    if (!writer.isEmpty()) addNamed(*result, writer.finish(result->tracks().empty() ? end : writer.tick()));
  };
  add(writers[channels]);
  for (std::size_t i = 0; i < channels; ++i) add(writers[i]);
  if (result->tracks().empty()) addNamed(*result, MidiTrackWriter().finish(end));
  return result;
}

}  // namespace

std::unique_ptr<Song> withFormat(const Song& song, int format, const OperationContext& context) {
  if (song.format == format)
    return rewriteTracks(song, context, [](const Track& track, std::size_t) { return track.data; });
  if (song.format == 2) return fail(u"The tracks of a format 2 song are songs of their own");
  if (!context.host.progress(0)) return fail(u"Cancelled");
  return format == 0 ? inOneTrack(song, context) : inChannelTracks(song);
}

}  // namespace tervo
