#include "formats/midi/midi_file.h"

#include <fmt/format.h>

#include <algorithm>
#include <string_view>

#include "base/byte_writer.h"
#include "base/last_error.h"
#include "formats/midi/song_reader.h"

namespace tervo {
namespace {

constexpr uint64_t headerChunkBytes = 14, trackHeaderBytes = 8;
constexpr std::size_t mostTracks = 0xFFFF;
constexpr std::size_t longestTrack = 0xFFFFFFFF;

}  // namespace

int detectMidiSong(std::span<const std::byte> head) {
  const std::string_view text(reinterpret_cast<const char*>(head.data()), head.size());
  return text.starts_with("MThd") ? 6 : 0;
}

int detectMidiFile(std::span<const std::byte> head, uint32_t, uint64_t) {
  if (const int score = detectMidiSong(head)) return score;
  const std::string_view text(reinterpret_cast<const char*>(head.data()), head.size());
  constexpr std::string_view header("MThd\0\0\0\6", 8);
  return text.find(header) != std::string_view::npos ? 2 : 0;
}

bool readMidiSong(Collection& collection, const SourceFile& file, uint32_t) {
  return readSongs(collection, file, 0, file.bytes->size());
}

uint64_t midiFileBytes(const Song& song) {
  uint64_t bytes = headerChunkBytes;
  for (const auto& track : song.tracks()) bytes += trackHeaderBytes + track->data.size();
  return bytes;
}

bool writeMidiBytes(const Song& song, TargetFile& file) {
  const auto tracks = song.tracks();
  if (tracks.size() > mostTracks)
    file.report.approximated(song.name, u"number of tracks in the header", fromUtf8(fmt::to_string(tracks.size())),
                             u"65535");
  ByteWriter writer(file.sink);
  writer.record(FourCC("MThd"));
  writer.big<uint32_t>(6);
  writer.big(song.format);
  writer.big(static_cast<uint16_t>(std::min(tracks.size(), mostTracks)));
  writer.big(song.division);
  for (const auto& track : tracks) {
    if (track->data.size() > longestTrack) return fail(u"A track is too long for the file format");
    writer.record(FourCC("MTrk"));
    writer.big(static_cast<uint32_t>(track->data.size()));
    writer.bytes(track->data);
  }
  return writer.ok();
}

bool writeMidiSong(const Item& item, TargetFile& file, uint32_t) {
  if (item.kind() != ItemKind::song) return fail(u"The file format can not save this item");
  return writeMidiBytes(static_cast<const Song&>(item), file);
}

}  // namespace tervo
