#include "tools/song/song_tools.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <string>

#include "base/last_error.h"
#include "core/midi_merge.h"
#include "core/tempo_map.h"
#include "tests/core/song_builder.h"

namespace tervo {
namespace {

using test::songOf;
using test::trackBytes;
using test::operator+;

class SongTools : public testing::Test {
 protected:
  Host host;
  ConversionReport report;
  OperationContext context{host, report};
};

test::TrackBytes bytesOf(const std::unique_ptr<Song>& song, std::size_t track = 0) {
  return song && track < song->tracks().size() ? song->tracks()[track]->data : test::TrackBytes{};
}

/// A song that nothing in it makes easy: chords in running status, changes of status, meta events in between, drums.
std::unique_ptr<Song> richSong(uint16_t format) {
  std::vector<std::byte> bodies[3];
  uint32_t random = 7;
  for (int t = 0; t < 3; ++t) {
    auto& body = bodies[t];
    const auto put = [&](std::initializer_list<int> values) { body = body + trackBytes(values); };
    int last = -1;
    for (int i = 0; i < 400; ++i) {
      random = random * 1664525 + 1013904223;
      const int delta = static_cast<int>(random >> 28), value = static_cast<int>(random >> 9 & 0x7F);
      const int channel = static_cast<int>(random >> 24 & 3) * 3, kind = i % 23;
      if (kind == 5) put({delta, 0xFF, 0x51, 3, 4 + value / 16, value, 0}), last = -1;
      if (kind == 9) put({delta, 0xFF, 1, 1, 'x', 0, 0xF0, 2, value, 0xF7}), last = -1;
      const int status = (kind == 3 ? 0xC0 : kind == 4 ? 0xB0 : kind % 3 ? 0x90 : 0x80) | channel;
      put({delta});
      if (status != last) put({status});
      last = status;
      put({value});
      if (kind != 3) put({static_cast<int>(random >> 16 & 0x7F)});
    }
    put({5, 0xFF, 0x2F, 0});
  }
  if (format == 0) return songOf(0, 96, {bodies[0]});
  return songOf(format, 96, {bodies[0], bodies[1], bodies[2]});
}

/// The events of a song by tick, those of one tick sorted: what is heard when.
std::map<uint64_t, std::multiset<std::string>> heard(const Song& song) {
  std::map<uint64_t, std::multiset<std::string>> events;
  MergedEvents merged(song);
  for (auto place = merged.next(); place.event; place = merged.next()) {
    if (place.event->isMeta(MetaType::endOfTrack)) continue;
    std::string text = {static_cast<char>(place.event->status), static_cast<char>(place.event->metaType)};
    for (const std::byte byte : place.event->data) text += static_cast<char>(byte);
    if (place.event->isChannel()) text[1] = 0;
    events[place.event->tick].insert(text);
  }
  return events;
}

TEST_F(SongTools, TransposeMovesKeysAndLeavesTheRestByteForByte) {
  const auto track = trackBytes({0,  0xFF, 0x59, 2,    2,   0, 0, 0x90, 60,  64, 0, 0x99, 36, 1, 5, 0x90, 125,  9, 0,
                                 60, 0,    0,    0xA0, 125, 3, 0, 0x80, 125, 0,  7, 0xB0, 60, 1, 0, 0xFF, 0x2F, 0});
  const auto song = songOf(1, 96, {track});
  EXPECT_EQ(bytesOf(transposed(*song, {}, context)), track);

  // D major three semitones up is F major; 128 comes back as 116.
  auto up = track;
  up[4] = std::byte(0xFF);
  for (const auto& [at, key] : {std::pair{8, 63}, {16, 116}, {19, 63}, {23, 116}, {27, 116}})
    up[static_cast<std::size_t>(at)] = static_cast<std::byte>(key);
  EXPECT_EQ(bytesOf(transposed(*song, {.semitones = 3}, context)), up);
  EXPECT_TRUE(report.entries().empty());

  const auto removed = transposed(*song, {.semitones = 3, .outOfRange = OutOfRange::remove}, context);
  EXPECT_EQ(bytesOf(removed), trackBytes({0, 0xFF, 0x59, 2,  0xFF, 0, 0,    0x90, 63, 64, 0,    0x99, 36,
                                          1, 5,    0x90, 63, 0,    7, 0xB0, 60,   1,  0,  0xFF, 0x2F, 0}));
  EXPECT_EQ(report.entries().size(), 1u);

  auto drums = track;
  drums[12] = std::byte{37};
  EXPECT_EQ(bytesOf(transposed(*song, {.semitones = 1, .channel = 10}, context)), drums);
}

TEST_F(SongTools, RemovingKeepsTimesAndMakesStatusBytesWhole) {
  const auto song = songOf(0, 96, {trackBytes({1, 0xB0, 7, 1, 2, 7, 2, 3, 0x90, 60, 64, 4, 60, 0, 5, 0xC0, 9})});
  const auto without = [&](EventKind kind, int channel = 0) {
    return bytesOf(withoutEvents(*song, {1u << static_cast<unsigned>(kind), channel}, context));
  };
  EXPECT_EQ(without(EventKind::notes), trackBytes({1, 0xB0, 7, 1, 2, 7, 2, 12, 0xC0, 9, 0, 0xFF, 0x2F, 0}));
  EXPECT_EQ(without(EventKind::controllers), trackBytes({6, 0x90, 60, 64, 4, 60, 0, 5, 0xC0, 9, 0, 0xFF, 0x2F, 0}));
  EXPECT_EQ(without(EventKind::programs),
            trackBytes({1, 0xB0, 7, 1, 2, 7, 2, 3, 0x90, 60, 64, 4, 60, 0, 5, 0xFF, 0x2F, 0}));
  EXPECT_EQ(without(EventKind::notes, 2), song->tracks()[0]->data + trackBytes({0, 0xFF, 0x2F, 0}));
  EXPECT_FALSE(withoutEvents(*song, {}, context));
}

TEST_F(SongTools, FormatsZeroAndOneHoldTheSame) {
  const auto song = richSong(0);
  const auto split = withFormat(*song, 1, context);
  ASSERT_TRUE(split);
  ASSERT_EQ(split->tracks().size(), 5u);  // what belongs to no channel, and channels 1, 4, 7, 10
  EXPECT_TRUE(split->tracks()[0]->isControlTrack);
  EXPECT_EQ(split->tracks()[4]->name, u"Track 05");
  EXPECT_EQ(heard(*split), heard(*song));
  EXPECT_EQ(lengthInSeconds(*split), lengthInSeconds(*song));
  const auto merged = withFormat(*split, 0, context);
  ASSERT_TRUE(merged);
  EXPECT_EQ(merged->tracks().size(), 1u);
  EXPECT_EQ(heard(*merged), heard(*song));
  EXPECT_EQ(lengthInSeconds(*merged), lengthInSeconds(*song));
  EXPECT_FALSE(withFormat(*richSong(2), 0, context));
}

TEST_F(SongTools, CompactingChangesBytesOnly) {
  const auto song = richSong(1);
  const auto shorter = compacted(*song, {.noteOffs = false, .repetitions = false}, context);
  EXPECT_EQ(heard(*shorter), heard(*song));

  // The second volume repeats; the first one after a system-exclusive message does not, nor do the bank and portamento
  // control.
  const auto wordy = songOf(1, 96,
                            {trackBytes({0x80, 0, 0xB0, 7, 1,    0, 0xB0, 7, 1,  0, 0xF0, 1,  0xF7, 0, 0xB0, 7,    1, 0,
                                         0xB0, 0, 1,    0, 0xB0, 0, 1,    0, 84, 5, 0,    84, 5,    0, 0xFF, 0x2F, 0}),
                             trackBytes({0, 0x90, 60, 9, 1, 0x80, 60, 64, 1, 0x80, 60, 63, 0, 0xFF, 0x2F, 0}),
                             trackBytes({1, 0xFF, 0x2F, 0})});
  const auto terse = compacted(*wordy, {}, context);
  ASSERT_TRUE(terse);
  ASSERT_EQ(terse->tracks().size(), 2u);
  EXPECT_EQ(bytesOf(terse), trackBytes({0, 0xB0, 7, 1, 0, 0xF0, 1, 0xF7, 0,  0xB0, 7, 1,    0,    0,
                                        1, 0,    0, 1, 0, 84,   5, 0,    84, 5,    0, 0xFF, 0x2F, 0}));
  EXPECT_EQ(bytesOf(terse, 1), trackBytes({0, 0x90, 60, 9, 1, 60, 0, 1, 0x80, 60, 63, 0, 0xFF, 0x2F, 0}));
}

TEST_F(SongTools, TickRateKeepsTheTimes) {
  const auto song =
      songOf(1, 96, {trackBytes({0, 0xFF, 0x51, 3, 0x0F, 0x42, 0x40, 1, 0x90, 60, 9, 95, 60, 0, 0, 0xFF, 0x2F, 0})});
  const auto finer = withDivision(*song, 480, context);
  EXPECT_EQ(bytesOf(finer),
            trackBytes({0, 0xFF, 0x51, 3, 0x0F, 0x42, 0x40, 5, 0x90, 60, 9, 0x83, 0x5B, 60, 0, 0, 0xFF, 0x2F, 0}));
  EXPECT_TRUE(report.entries().empty());
  EXPECT_EQ(bytesOf(withDivision(*finer, 96, context)), bytesOf(song));
  // 25 frames of 40 ticks are milliseconds: 1/96 of a second is 10.4 of them.
  const auto frames = withDivision(*song, 0xE728, context);
  EXPECT_EQ(bytesOf(frames), trackBytes({10, 0x90, 60, 9, 0x87, 0x5E, 60, 0, 0, 0xFF, 0x2F, 0}));
  EXPECT_EQ(report.entries().size(), 2u);
  EXPECT_DOUBLE_EQ(lengthInSeconds(*withDivision(*frames, 500, context)), 1);
}

TEST_F(SongTools, TrimKeepsWhatIsHeard) {
  // Volume twice, a bank and a program, a note across the start, one across the end, words before the start, half a
  // tempo.
  const auto song =
      songOf(1, 100,
             {trackBytes({0,    0xFF, 0x51, 3, 0x0F, 0x42, 0x40, 10,   0xFF, 0x51, 3, 0x07, 0xA1,
                          0x20, 0,    0xFF, 5, 1,    'a',  1,    0xFF, 0x51, 2,    9, 9}),
              trackBytes({0,  0xB0, 0,  1,  0, 7, 50,   0,  7,   60,  0,    0xC0, 3, 50, 0x90, 60,   70, 30,
                          62, 80,   20, 60, 0, 0, 0xB0, 64, 127, 100, 0x80, 62,   1, 0,  0xFF, 0x2F, 0})});
  const auto part = trimmed(*song, {.start = 70, .end = 150, .unit = TimeUnit::ticks}, context);
  ASSERT_TRUE(part);
  EXPECT_EQ(bytesOf(part), trackBytes({0, 0xFF, 0x51, 3, 0x07, 0xA1, 0x20, 0, 0xFF, 0x2F, 0}));
  EXPECT_EQ(bytesOf(part, 1), trackBytes({0,  0xB0, 0,  1, 0, 7,    60, 0,   0xC0, 3,    0,  0x90, 60, 70,   10,   62,
                                          80, 20,   60, 0, 0, 0xB0, 64, 127, 50,   0x90, 62, 0,    0,  0xFF, 0x2F, 0}));
  // 0.1 s at 60 a minute, then 120: tick 70 is 0.4 s.
  EXPECT_EQ(bytesOf(trimmed(*song, {.start = 0.4, .end = 0.8}, context), 1), bytesOf(part, 1));
  const auto notes = trimmed(*song, {}, context);
  EXPECT_EQ(summaryOf(*notes->tracks()[1]).ticks, 150u);
  EXPECT_EQ(summaryOf(*notes->tracks()[1]).notes, 2u);
  EXPECT_FALSE(trimmed(*song, {.start = 5, .end = 5}, context));
  EXPECT_FALSE(trimmed(*songOf(1, 96, {trackBytes({0, 0xFF, 0x2F, 0})}), {}, context));
}

TEST_F(SongTools, TracksStayWholeWhenTheyWereNot) {
  // Running status across a meta event, a missing end of track, a delta time that grows too long for its bytes.
  const auto song =
      songOf(1, 1, {trackBytes({0, 0x90, 60, 9, 0, 0xFF, 1, 0, 5, 60, 0, 0xFF, 0xFF, 0xFF, 0x7F, 60, 7})});
  EXPECT_EQ(
      bytesOf(transposed(*song, {}, context)),
      trackBytes({0, 0x90, 60, 9, 0, 0xFF, 1, 0, 5, 0x90, 60, 0, 0xFF, 0xFF, 0xFF, 0x7F, 60, 7, 0, 0xFF, 0x2F, 0}));
  const auto slow = withDivision(*song, 3, context);
  EXPECT_EQ(summaryOf(*slow->tracks()[0]).ticks, 3u * (5 + 0x0FFFFFFF));
}

TEST(Operations, TakeTheirOptionsFromText) {
  const Operation* remove = findOperation(u"remove-events");
  ASSERT_TRUE(remove);
  OptionValues values(remove->options);
  EXPECT_TRUE(values.set(u"kinds", u"tempo,Notes"));
  EXPECT_EQ(values.choices(u"kinds"), 0x101u);
  for (const TextView wrong : {u"", u"tempo,", u"noise", u"notes tempo"}) EXPECT_FALSE(values.set(u"kinds", wrong));
  for (const TextView wrong : {u"17", u"-1", u"1.5", u"", u"nan", u"2x"}) EXPECT_FALSE(values.set(u"only", wrong));
  EXPECT_FALSE(values.set(u"nothing", u"1"));
  EXPECT_EQ(values.choices(u"kinds"), 0x101u);
  EXPECT_EQ(findOperation(u"nothing"), nullptr);
}

TEST(Operations, ReportBytesThatAreNoEvents) {
  Host host;
  const auto end = trackBytes({0, 0xFF, 0x2F, 0}), note = trackBytes({0, 0x90, 60, 9});
  const struct {
    test::TrackBytes track;
    std::size_t entries;
  } cases[] = {
      {note + end, 0}, {note, 0}, {note + end + note, 1}, {note + trackBytes({0, 0x90, 60}), 1}, {end + end, 1}};
  for (const auto& each : cases) {
    const auto song = songOf(1, 96, {each.track});
    ConversionReport report;
    const Operation& operation = *findOperation(u"transpose");
    EXPECT_TRUE(RunOperation(operation, *song, OptionValues(operation.options), {host, report}));
    EXPECT_EQ(report.entries().size(), each.entries);
  }
}

/// A user who stops at once.
class StoppingHost final : public Host {
  bool progress(double) override { return false; }
};

TEST(Operations, LeaveTheItemAloneWhenStopped) {
  StoppingHost host;
  ConversionReport report;
  for (const Operation& operation : Operations()) {
    if (operation.kind != ItemKind::song) continue;
    auto song = richSong(1);
    OptionValues values(operation.options);
    if (operation.name == u"remove-events") values.set(u"kinds", u"notes");
    EXPECT_FALSE(RunOperation(operation, *song, values, {host, report})) << toUtf8(operation.name);
    EXPECT_EQ(LastErrorText(), u"Cancelled");
    EXPECT_EQ(heard(*song), heard(*richSong(1)));
  }
  Host patient;
  auto song = richSong(1);
  const ItemId kept = song->tracks()[0]->id();
  OptionValues values(findOperation(u"change-midi-format")->options);
  values.set(u"to", u"0");
  EXPECT_TRUE(RunOperation(*findOperation(u"change-midi-format"), *song, values, {patient, report}));
  EXPECT_EQ(song->tracks().size(), 1u);
  EXPECT_EQ(song->tracks()[0]->id(), kept);
  EXPECT_EQ(song->format, 0);
}

}  // namespace
}  // namespace tervo
