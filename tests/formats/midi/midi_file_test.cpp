#include "formats/midi/midi_file.h"

#include <gtest/gtest.h>

#include "formats/detection.h"
#include "tests/formats/midi/midi_builder.h"

namespace tervo::test {
namespace {

std::vector<Text> trackNames(const Song& song) {
  std::vector<Text> names;
  for (const auto& track : song.tracks()) names.push_back(track->name);
  return names;
}

TEST(MidiFile, NamesTracksByFormatAndPlace) {
  const TrackBytes none = trackBytes({0, 0xFF, 0x2F, 0});
  const struct {
    uint16_t format;
    std::vector<TrackBytes> tracks;
    std::vector<Text> names;
  } cases[] = {
      {0, {notesTrack(), notesTrack()}, {u"Master Track", u"Master Track"}},
      {1, {tempoTrack(), notesTrack(), notesTrack()}, {u"Control Track", u"Track 02", u"Track 03"}},
      {1, {notesTrack(), notesTrack(), notesTrack()}, {u"Track 01", u"Track 01", u"Track 02"}},
      {1, {tempoTrack(), none, notesTrack()}, {u"Control Track", u"Track 03"}},
      {1, {none, notesTrack()}, {u"Track 01"}},
      {2, {notesTrack(), none, notesTrack()}, {u"Track 00", u"Track 02"}},
  };
  for (const auto& each : cases) {
    MidiBuilder file;
    file.header(each.format, static_cast<uint16_t>(each.tracks.size()));
    for (const auto& track : each.tracks) file.track(track);
    const ReadMidi read(file.bytes());
    ASSERT_TRUE(read.ok);
    EXPECT_EQ(trackNames(read.song()), each.names);
    EXPECT_EQ(read.song().tracks()[0]->isControlTrack, each.names[0] == u"Control Track");
  }
  const ReadMidi patterns(MidiBuilder().header(2, 3).track(none).track(notesTrack()).track(notesTrack()).bytes());
  EXPECT_EQ(patterns.song().tracks()[1]->sequenceNumber, 2u);
}

TEST(MidiFile, WritesWhatItRead) {
  // Odd lengths, bytes behind the end of track, events that make no sense: tracks are bytes.
  MidiBuilder file;
  file.header(1, 3, 0xE728)
      .track(tempoTrack())
      .track(notesTrack() + trackBytes({1, 2}))
      .track(trackBytes({0, 60, 1, 2, 3}));
  ReadMidi read(file.bytes());
  ASSERT_TRUE(read.ok);
  EXPECT_EQ(read.song().name, u"tune");
  EXPECT_TRUE(read.report.entries().empty());
  EXPECT_EQ(read.written(), file.bytes());
}

TEST(MidiFile, ReadsFilesAsTheyAreInTheWild) {
  const MidiBuilder plain = MidiBuilder().header(1, 2).track(tempoTrack()).track(notesTrack());
  const struct {
    MidiBuilder file;
    TextView reported;
  } cases[] = {
      {MidiBuilder().raw(TrackBytes(128)).raw(plain.bytes()), u"bytes outside of chunks"},
      {MidiBuilder().raw(plain.bytes()).raw("TAG of another kind"), u"bytes outside of chunks"},
      {MidiBuilder().header(1, 2, 96, 8).raw(TrackBytes(2)).track(tempoTrack()).track(notesTrack()), u"header"},
      {MidiBuilder().header(1, 2, 96, 0).track(tempoTrack()).track(notesTrack()), u"length of the header"},
      {MidiBuilder().header(1, 65535).track(tempoTrack()).track(notesTrack()), u"number of tracks"},
      {MidiBuilder().header(1, 0).track(tempoTrack()).track(notesTrack()), u"number of tracks"},
      {MidiBuilder().header(1, 2).track(tempoTrack()).chunk("XFIH", TrackBytes(3)).track(notesTrack()),
       u"chunks that are no part of a song"},
      {MidiBuilder().track(notesTrack()).raw(plain.bytes()), u"chunks that are no part of a song"},
      {MidiBuilder().header(1, 2).track(tempoTrack()).raw(TrackBytes(1)).track(notesTrack()),
       u"bytes outside of chunks"},
      {MidiBuilder().header(1, 2).track(tempoTrack()).chunkSaying("MTrk", 5000, notesTrack()), u"length of Track 02"},
      // A length that was never filled in, of a track that others follow.
      {MidiBuilder().header(1, 2).chunkSaying("MTrk", 0xFFFFFFFF, tempoTrack()).track(notesTrack()),
       u"length of Control Track"},
      {MidiBuilder().header(1, 3).track(tempoTrack()).track(notesTrack()).track(TrackBytes(4)),
       u"tracks without events"},
      // The same, where only the events say how short it is.
      {MidiBuilder()
           .header(1, 3)
           .track(tempoTrack())
           .track(notesTrack())
           .chunkSaying("MTrk", 99, trackBytes({0, 0xFF, 0x2F, 0})),
       u"tracks without events"},
      {MidiBuilder().header(1, 2, 0).track(tempoTrack()).track(notesTrack()), u"ticks per quarter note"},
  };
  for (const auto& each : cases) {
    const ReadMidi read(each.file.bytes());
    ASSERT_TRUE(read.ok) << toUtf8(each.reported);
    EXPECT_EQ(trackNames(read.song()), (std::vector<Text>{u"Control Track", u"Track 02"}));
    EXPECT_EQ(read.song().tracks().back()->data, notesTrack()) << toUtf8(each.reported);
    EXPECT_EQ(read.report.entries().size(), 1u);
    EXPECT_TRUE(read.reported(each.reported)) << toUtf8(each.reported);
  }
}

TEST(MidiFile, TracksThatLieTakeTheRoomOfTheirEvents) {
  MidiBuilder file;
  file.header(1, 300);
  for (int i = 0; i < 300; ++i) file.chunkSaying("MTrk", 0xFFFFFFFF, notesTrack());
  const ReadMidi read(file.bytes());
  ASSERT_EQ(read.song().tracks().size(), 300u);
  for (const auto& track : read.song().tracks()) EXPECT_LE(track->data.capacity(), 2 * notesTrack().size());
}

TEST(MidiFile, WithoutHeaderIsNoSong) {
  for (const auto& file : {MidiBuilder().track(notesTrack()),
                           MidiBuilder().raw(std::string_view("MThd\0\0\0\6\0\0", 10)), MidiBuilder().raw("MThd")}) {
    const ReadMidi read(file.bytes());
    EXPECT_FALSE(read.ok);
    EXPECT_TRUE(read.collection.songs().empty());
  }
}

TEST(MidiFile, SeveralInOneAreSeveralSongs) {
  const MidiBuilder one = MidiBuilder().header(0, 1).track(notesTrack(1));
  const MidiBuilder two = MidiBuilder().raw(one.bytes()).header(1, 1, 7).track(notesTrack(2));
  const ReadMidi read(two.bytes());
  ASSERT_EQ(read.collection.songs().size(), 2u);
  EXPECT_EQ(read.collection.songs()[1]->division, 7);
  EXPECT_EQ(read.collection.songs()[1]->tracks()[0]->name, u"Track 01");
  EXPECT_TRUE(read.report.entries().empty());
}

TEST(MidiFile, IsDetectedByItsFirstBytes) {
  const MidiBuilder plain = MidiBuilder().header(0, 1).track(notesTrack());
  const MidiBuilder late = MidiBuilder().raw(TrackBytes(128)).raw(plain.bytes());
  const struct {
    TextView name;
    TrackBytes bytes;
    FormatIndex row;
  } cases[] = {
      {u"a.mid", plain.bytes(), 243}, {u"a.xyz", plain.bytes(), 243},
      {u"a.mid", late.bytes(), 243},  {u"a.xyz", late.bytes(), 0},
      {u"a.mid", TrackBytes(99), 0},  {u"a.mid", rmid(riffChunk("data", plain.bytes())), 354},
  };
  for (const auto& each : cases) EXPECT_EQ(DetectFormat(each.name, MemorySource(each.bytes)).index, each.row);
  EXPECT_EQ(detectMidiSong(late.bytes()), 0);
}

TEST(Rmid, KeepsSongAndTagsAndReportsTheRest) {
  const MidiBuilder song = MidiBuilder().header(0, 1).track(notesTrack() + trackBytes({7}));
  const TrackBytes info = [] {
    MemorySink sink;
    ByteWriter writer(sink);
    writer.chars("INFO");
    writer.bytes(riffChunk("INAM", trackBytes({'A', 0})));
    writer.bytes(riffChunk("IGNR", trackBytes({'B', 0})));
    return sink.take();
  }();
  ReadMidi read(rmid(riffChunk("LIST", info) + riffChunk("data", song.bytes()) +
                     riffChunk("RIFF", trackBytes({'D', 'L', 'S', ' '}))),
                readRmid);
  ASSERT_TRUE(read.ok);
  EXPECT_EQ(read.collection.tags[Tag::name], u"A");
  EXPECT_TRUE(read.reported(u"instruments of the song"));
  EXPECT_TRUE(read.reported(u"text \"IGNR\""));
  EXPECT_EQ(read.report.entries().size(), 2u);

  const ReadMidi again(read.written(writeRmid, 355), readRmid);
  ASSERT_TRUE(again.ok);
  EXPECT_EQ(again.song().tracks()[0]->data, read.song().tracks()[0]->data);
  EXPECT_EQ(again.collection.tags[Tag::name], u"A");
  EXPECT_TRUE(again.report.entries().empty());
}

TEST(Rmid, ReportsWhatStandsBehindTheForm) {
  const TrackBytes form = rmid(riffChunk("data", MidiBuilder().header(0, 1).track(notesTrack()).bytes()));
  const ReadMidi read(form + riffChunk("RIFF", trackBytes({'D', 'L', 'S', ' '})), readRmid);
  ASSERT_TRUE(read.ok);
  EXPECT_TRUE(read.reported(u"bytes behind the form: 12"));
}

TEST(Rmid, BadWrapperIsRefused) {
  const TrackBytes song = MidiBuilder().header(0, 1).track(notesTrack()).bytes();
  for (const TrackBytes& file :
       {song, rmid(riffChunk("data", song), "WAVE"), rmid({}), rmid(riffChunk("data", notesTrack()))}) {
    EXPECT_FALSE(ReadMidi(file, readRmid).ok);
    EXPECT_EQ(LastErrorText(), u"Not a RIFF-RMID file");
  }
}

}  // namespace
}  // namespace tervo::test
