#include "core/tempo_map.h"

#include <gtest/gtest.h>

#include "tests/core/song_builder.h"

namespace tervo {
namespace {

using test::songOf;
using test::trackBytes;

test::TrackBytes tempoAfter(int delta, int tempo, int restTicks = 0) {
  return trackBytes({delta, 0xFF, 0x51, 3, tempo >> 16, (tempo >> 8) & 0xFF, tempo & 0xFF, restTicks, 0xFF, 0x2F, 0});
}

TEST(TempoMap, TakesTempoFromAllTracksOrFromTheOneThatIsASong) {
  // 96 ticks at 120 a minute are half a second; then 60 a minute from the second track.
  for (const uint16_t format : {uint16_t{0}, uint16_t{1}}) {
    const auto song = songOf(format, 96, {trackBytes({0, 0xFF, 0x2F, 0}), tempoAfter(96, 1000000, 96)});
    const TempoMap map(*song);
    EXPECT_DOUBLE_EQ(map.secondsAt(48), 0.25);
    EXPECT_DOUBLE_EQ(map.secondsAt(192), 1.5);
    EXPECT_DOUBLE_EQ(lengthInSeconds(*song), 1.5);
    EXPECT_DOUBLE_EQ(map.tickAt(0.25), 48);
    EXPECT_DOUBLE_EQ(map.tickAt(2.5), 288);
    EXPECT_DOUBLE_EQ(map.tickAt(-1), 0);
    EXPECT_EQ(map.tempoAt(95), 500000u);
    EXPECT_EQ(map.tempoAt(96), 1000000u);
  }
  const auto patterns = songOf(2, 96, {tempoAfter(0, 250000, 96), tempoAfter(0, 1000000, 96)});
  EXPECT_DOUBLE_EQ(TempoMap(*patterns, 0).secondsAt(96), 0.25);
  EXPECT_DOUBLE_EQ(TempoMap(*patterns, 1).secondsAt(96), 1);
  EXPECT_DOUBLE_EQ(lengthInSeconds(*patterns), 1.25);
}

TEST(TempoMap, LastTempoOfATickCountsAndImpossibleOnesDoNot) {
  const auto song = songOf(1, 100, {tempoAfter(0, 250000), tempoAfter(0, 2000000), tempoAfter(50, 0)});
  EXPECT_DOUBLE_EQ(TempoMap(*song).secondsAt(100), 2);
  const auto shortEvent = songOf(0, 100, {trackBytes({0, 0xFF, 0x51, 2, 1, 1})});
  EXPECT_DOUBLE_EQ(TempoMap(*shortEvent).secondsAt(100), 0.5);
}

TEST(TempoMap, SmpteDivisionsKeepTheirOwnTime) {
  const struct {
    int division;
    double seconds;  // of 3000 ticks
  } cases[] = {
      {0xE728, 3},       // 25 frames of 40 ticks: milliseconds
      {0xE850, 1.5625},  // 24 frames of 80
      {0xE264, 1},       // 30 frames of 100
      {0xE364, 1.001},   // drop-frame
      {0xE700, 120},     // no ticks in a frame: one
  };
  for (const auto& each : cases) {
    const auto song = songOf(1, static_cast<uint16_t>(each.division), {tempoAfter(0, 250000)});
    EXPECT_NEAR(TempoMap(*song).secondsAt(3000), each.seconds, 1e-12) << each.division;
  }
}

}  // namespace
}  // namespace tervo
