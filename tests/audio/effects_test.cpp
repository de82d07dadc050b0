#include "tests/audio/sound_lab.h"

namespace tervo::test {
namespace {

/// A short burst through one effect alone; the dry sound is over after 20 ms.
SoundLab::Stereo burst(int controller, int value, double seconds) {
  SoundLab lab;
  lab.add(sineFrames(1000, 960, 0.4));  // the chorus bends what is louder than half
  lab.start(Engine::Setup{});
  lab.control(91, 0), lab.control(93, 0);
  lab.control(controller, value);
  lab.press();
  return lab.render(seconds);
}

TEST(Effects, ReverbDecaysAndEndsInSilence) {
  const auto sound = burst(91, 127, 12);
  const double early = rms(part(sound.left, 0.05, 0.15)), late = rms(part(sound.left, 0.55, 0.65));
  EXPECT_GT(dB(early), -50);
  // Each round through the longest comb, 36.7 ms, leaves 0.868 of the lowest frequencies and less of others.
  EXPECT_LT(dB(late / early), -15);
  EXPECT_GT(dB(late / early), -60);
  EXPECT_EQ(peak(part(sound.left, 10, 12)), 0);
  EXPECT_NE(sound.left, sound.right);
}

TEST(Effects, ChorusDelaysAndMoves) {
  const auto sound = burst(93, 127, 1);
  EXPECT_GT(rms(part(sound.left, 0.021, 0.03)), 0.05);  // 9 to 15 ms behind
  EXPECT_NE(sound.left, sound.right);
  const auto dry = burst(93, 0, 1);
  EXPECT_EQ(peak(part(dry.left, 0.021, 1)), 0);
}

TEST(Effects, SendsFollowTheirControllers) {
  for (const int controller : {91, 93}) {
    const auto full = burst(controller, 127, 0.3), half = burst(controller, 64, 0.3);
    EXPECT_NEAR(dB(rms(part(half.left, 0.03, 0.3)) / rms(part(full.left, 0.03, 0.3))), dB(64 / 127.0), 0.3);
  }
}

TEST(Effects, EverySendIsHeardWhereItBelongs) {
  // Level behind the dry sound: the chorus is over after 100 ms, the reverb is not.
  struct Case {
    P row;
    bool early, late;
  };
  for (const Case& each : {Case{P::send1Level, true, true}, Case{P::send2Level, true, false},
                           Case{P::send3Level, true, false}, Case{P::send4Level, false, false}}) {
    SoundLab lab;
    lab.add(sineFrames(1000, 960)).articulation.set(each.row, 1);
    lab.start(Engine::Setup{});
    lab.control(91, 0), lab.control(93, 0);
    lab.press();
    const Frames sound = lab.left(0.5);
    EXPECT_EQ(rms(part(sound, 0.021, 0.08)) > 1e-4, each.early) << indexOf(each.row);
    EXPECT_EQ(rms(part(sound, 0.2, 0.5)) > 1e-4, each.late) << indexOf(each.row);
  }
}

}  // namespace
}  // namespace tervo::test
