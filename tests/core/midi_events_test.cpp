#include "core/midi_events.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/core/song_builder.h"

namespace tervo {
namespace {

using test::trackBytes;

/// What a walk delivers, one word an event: tick, status, meta type, data; then how it ended.
std::string walked(const test::TrackBytes& track) {
  std::string text;
  char word[64];
  MidiEvents events(track);
  while (const auto event = events.next()) {
    std::snprintf(word, sizeof word, "%u%s%02x", static_cast<unsigned>(event->tick), event->runsOn ? "r" : ":",
                  event->status);
    text += word;
    if (event->status == MidiStatus::meta) std::snprintf(word, sizeof word, "/%02x", event->metaType), text += word;
    for (const std::byte byte : event->data)
      std::snprintf(word, sizeof word, ",%x", static_cast<unsigned>(byte)), text += word;
    text += ' ';
  }
  static constexpr const char* faults[] = {"ok", "cut", "long", "nostatus"};
  std::snprintf(word, sizeof word, "%s@%zu", faults[static_cast<int>(events.fault())], events.position());
  return text + word;
}

TEST(MidiEvents, WalkByTheRulesOfTheStandard) {
  const struct {
    test::TrackBytes track;
    const char* events;
  } cases[] = {
      {{}, "ok@0"},
      // The quantities of the standard's own table: 0x7F, 0x80, 0x2000, 0x1FFFFF, 0x0FFFFFFF.
      {trackBytes({0x7F, 0x90, 60, 64, 0x81, 0x00, 60, 0, 0xC0, 0x00, 60, 1}),
       "127:90,3c,40 255r90,3c,0 8447r90,3c,1 ok@12"},
      {trackBytes({0xFF, 0xFF, 0x7F, 0xC5, 7, 0xFF, 0xFF, 0xFF, 0x7F, 8}), "2097151:c5,7 270532606rc5,8 ok@10"},
      {trackBytes({0, 0xD1, 5, 0, 0xE1, 0, 64, 0, 0xFF, 0x2F, 0, 1, 2}), "0:d1,5 0:e1,0,40 0:ff/2f ok@11"},
      // Running status goes on across meta and system-exclusive events.
      {trackBytes({0, 0xB0, 7, 100, 0, 0xFF, 1, 2, 'h', 'i', 1, 7, 99, 0, 0xF0, 2, 0x7E, 0xF7, 1, 7, 98}),
       "0:b0,7,64 0:ff/01,68,69 1rb0,7,63 1:f0,7e,f7 2rb0,7,62 ok@21"},
      {trackBytes({0, 0xF7, 1, 0xF3, 0, 0xF8, 0, 0xF2, 1, 2, 0, 0xF3, 1, 0, 0xF6}),
       "0:f7,f3 0:f8 0:f2,1,2 0:f3,1 0:f6 ok@15"},
      // What stops the walk.
      {trackBytes({0, 60, 64}), "nostatus@1"},
      {trackBytes({0, 0xFF, 1, 0, 0, 60, 64}), "0:ff/01 nostatus@5"},
      {trackBytes({0x80, 0x80, 0x80, 0x80, 0, 0x90, 60, 64}), "long@4"},
      {trackBytes({0, 0xFF, 1, 0x81, 0x80, 0x80, 0x80, 0}), "long@7"},
      {trackBytes({0, 0x90, 60, 64, 0x81}), "0:90,3c,40 cut@5"},
      {trackBytes({0}), "cut@1"},
      {trackBytes({0, 0x90, 60}), "cut@2"},
      {trackBytes({0, 0xFF}), "cut@2"},
      {trackBytes({0, 0xFF, 1}), "cut@3"},
      {trackBytes({0, 0xF0, 5, 1, 2}), "cut@3"},
      {trackBytes({0, 0xF0, 0xFF, 0xFF, 0xFF, 0x7F}), "cut@6"},
  };
  for (const auto& each : cases) EXPECT_EQ(walked(each.track), each.events);
}

TEST(MidiEvents, ValuesHaveSevenBits) {
  const auto track = trackBytes({0, 0x93, 0xFF, 0xC0});
  MidiEvents events(track);
  const MidiEvent* event = events.next();
  ASSERT_TRUE(event);
  EXPECT_EQ(event->key(), 0x7F);
  EXPECT_EQ(event->value(), 0x40);
  EXPECT_EQ(event->channel(), 3);
}

TEST(Track, HasNotesBeforeItsEnd) {
  const struct {
    test::TrackBytes track;
    bool notes;
  } cases[] = {
      {trackBytes({0, 0xFF, 0x51, 3, 7, 0xA1, 0x20, 0, 0xFF, 0x2F, 0}), false},
      {trackBytes({0, 0xFF, 0x2F, 0, 0, 0x90, 60, 64}), false},
      {trackBytes({0, 0xA0, 60, 64, 0, 60, 0}), false},
      {trackBytes({0, 0xFF, 1, 3, 0x90, 60, 64, 0, 0xC0, 1}), false},
      {trackBytes({0, 0x90, 60, 0}), true},
      {trackBytes({0, 0x81, 60, 64}), true},
  };
  for (const auto& each : cases) {
    Track track;
    track.data = each.track;
    EXPECT_EQ(trackHasNotes(track), each.notes);
  }
}

}  // namespace
}  // namespace tervo
