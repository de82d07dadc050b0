#include "formats/midi/song_reader.h"

#include <fmt/format.h>

#include <algorithm>
#include <new>

#include "base/byte_reader.h"
#include "core/midi_events.h"
#include "platform/path.h"

namespace tervo {
namespace {

constexpr uint64_t headerBytes = 6;
constexpr uint64_t shortestTrack = 5;

/// The body of a track whose length does not fit: as long as its events say, else all there is. Many such tracks in one
/// file take no more memory and time than their events.
std::vector<std::byte> bodyByItsEvents(const ByteSource& source, const Chunk& chunk) {
  constexpr std::size_t firstLook = 256;
  for (std::size_t looked = firstLook;; looked *= 4) {
    auto body = source.readUpTo(chunk.body, chunk.bytes, looked);
    MidiEvents events(body);
    bool ended = false;
    while (const auto event = events.next()) ended = event->isMeta(MetaType::endOfTrack);
    if (ended) {
      body.resize(events.position());
      body.shrink_to_fit();
    }
    if (ended || looked >= chunk.bytes) return body;
  }
}

Text counted(uint64_t count, const char* what) {
  return fromUtf8(fmt::format("{} {}", count, what));
}

class SongReader {
 public:
  SongReader(Collection& collection, const SourceFile& file)
      : collection_(collection), file_(file), fileName_(platform::stemOf(file.path)) {}

  void readChunk(MidiChunks& chunks, const Chunk& chunk) {
    if (chunk.id == FourCC("MThd")) return readHeader(chunks, chunk);
    if (chunk.id == FourCC("MTrk") && song_) return readTrack(chunks, chunk);
    noteForeign(chunk);
  }
  /// Reports what the walk passed over. Whether there was a song.
  bool finish(const MidiChunks& chunks) {
    finishSong();
    if (foreignChunks_ > 0)
      dropped(u"chunks that are no part of a song", counted(foreignBytes_, "bytes: ") + foreignNames_,
              u"the document has no place for them");
    if (chunks.strayBytes() > 0)
      dropped(u"bytes outside of chunks", counted(chunks.strayBytes(), "bytes"), u"they are no part of a song");
    return song_ != nullptr;
  }

 private:
  void readHeader(MidiChunks& chunks, const Chunk& chunk) {
    const auto body = file_.bytes->readUpTo(chunk.body, headerBytes, headerBytes);
    ByteReader reader(body);
    const auto format = reader.big<uint16_t>();
    const auto trackCount = reader.big<uint16_t>();
    const auto division = reader.big<uint16_t>();
    if (!reader.ok()) return noteForeign(chunk);
    finishSong();
    auto song = std::make_unique<Song>();
    song->name = fileName_;
    song->format = format;
    song->division = division;
    song_ = &collection_.add(std::move(song));
    statedTracks_ = trackCount;
    places_ = 0;
    if (chunk.size > headerBytes)
      dropped(u"header", counted(chunk.size - headerBytes, "bytes behind the division"), u"their meaning is unknown");
    if (chunk.size < headerBytes) {
      file_.report.approximated(song_->name, u"length of the header", counted(chunk.size, "bytes"), u"6 bytes");
      chunks.endAfter(chunk, headerBytes);
    }
    if (division == 0) file_.report.approximated(song_->name, u"ticks per quarter note", u"0", u"480 for playing");
  }

  void readTrack(MidiChunks& chunks, const Chunk& chunk) {
    const std::size_t place = places_++;
    try {
      addTrack(chunks, chunk, place);
    } catch (const std::bad_alloc&) {
      dropped(u"a track", counted(chunk.bytes, "bytes"), u"Out of memory");
    }
  }
  void addTrack(MidiChunks& chunks, const Chunk& chunk, std::size_t place) {
    auto track = std::make_unique<Track>();
    if (chunk.isTruncated()) {
      // The length may be what is wrong: other tracks may follow.
      track->data = bodyByItsEvents(*file_.bytes, chunk);
      chunks.endAfter(chunk, track->data.size());
    } else {
      track->data.resize(static_cast<std::size_t>(chunk.bytes));
      track->data.resize(file_.bytes->readAt(chunk.body, track->data));
    }
    if (track->data.size() < shortestTrack) return void(++shortTracks_);
    nameTrack(*song_, *track, place);
    if (song_->format == 2) track->sequenceNumber = static_cast<uint32_t>(place);
    const Track& added = song_->add(std::move(track));
    if (chunk.size != added.data.size())
      file_.report.approximated(song_->name, u"length of " + added.name, counted(chunk.size, "bytes"),
                                counted(added.data.size(), "bytes"));
  }

  void noteForeign(const Chunk& chunk) {
    constexpr std::size_t namedAtMost = 8;
    const Text name = fromFileText({chunk.id.chars.data(), chunk.id.chars.size()});
    if (++foreignChunks_ <= namedAtMost) foreignNames_ += (foreignChunks_ == 1 ? u"" : u", ") + name;
    if (foreignChunks_ == namedAtMost + 1) foreignNames_ += u" and more";
    foreignBytes_ += chunk.bytes;
  }

  void finishSong() {
    if (!song_) return;
    if (shortTracks_ > 0)
      dropped(u"tracks without events", counted(shortTracks_, "tracks"), u"they are shorter than 5 bytes");
    shortTracks_ = 0;
    if (statedTracks_ != places_)
      file_.report.approximated(song_->name, u"number of tracks", counted(statedTracks_, "in the header"),
                                counted(places_, "found"));
  }
  void dropped(TextView what, TextView from, TextView why) {
    file_.report.add({song_ ? song_->name : fileName_, Text(what), ReportKind::dropped, Text(from), Text(why)});
  }

  Collection& collection_;
  const SourceFile& file_;
  Text fileName_;
  Song* song_ = nullptr;
  std::size_t statedTracks_ = 0;
  std::size_t places_ = 0;  ///< tracks of the song so far, those included that are passed over
  std::size_t shortTracks_ = 0;
  std::size_t foreignChunks_ = 0;
  uint64_t foreignBytes_ = 0;
  Text foreignNames_;
};

}  // namespace

bool readSongs(Collection& collection, const SourceFile& file, uint64_t begin, uint64_t end) {
  SongReader reader(collection, file);
  MidiChunks chunks(*file.bytes, begin, end);
  while (const auto chunk = chunks.next()) reader.readChunk(chunks, *chunk);
  return reader.finish(chunks);
}

}  // namespace tervo
