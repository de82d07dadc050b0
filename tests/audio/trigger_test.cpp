#include "audio/engine/zone.h"
#include "tests/audio/sound_lab.h"

namespace tervo::test {
namespace {

using audio::TriggerType;

/// Regions that each play a tone of their own for a quarter of a second; what sounds is asked by tone.
class Tones : public testing::Test {
 protected:
  static double hertz(std::size_t tone) { return 500.0 * static_cast<double>(tone + 1); }
  Region& add(TriggerType type = TriggerType::keyPress) {
    Region& region = lab.add(sineFrames(hertz(tones_++), 12000));
    region.articulation.set(P::keyToPitch, 0);
    region.trigger.set(P::triggerType, static_cast<float>(type));
    return region;
  }
  Region& addLooped(TriggerType type = TriggerType::keyPress) {
    Region& region = add(type);
    findItem<Waveform>(region.waveform)->markers.push_back(SoundLab::loopOver(0, 12000));
    return region;
  }
  /// The tones of the next 100 ms, as a text of their numbers.
  std::string heard() {
    const Frames sound = lab.left(0.1);
    std::string result;
    for (std::size_t tone = 0; tone < tones_; ++tone)
      if (levelAt(part(sound, 0.02, 0.1), hertz(tone)) > 0.02) result += static_cast<char>('0' + tone);
    return result;
  }
  void rest() { lab.left(0.4); }

  SoundLab lab;
  std::size_t tones_ = 0;
};

TEST_F(Tones, AKeyEndsTheInstrumentThatItStarted) {
  addLooped();
  add(TriggerType::keyRelease);
  lab.start();
  SoundLab other;
  other.add(sineFrames(hertz(2), 12000)).trigger.set(P::triggerType, static_cast<float>(TriggerType::keyRelease));
  tones_ = 3;
  ASSERT_TRUE(lab.engine->loadInstrumentAs(*other.instrument, 5, Loading::stopped));
  lab.press();
  lab.send(0xC0, 5);
  EXPECT_EQ(heard(), "0");
  lab.lift();
  EXPECT_EQ(heard(), "1");
}

TEST_F(Tones, EveryTriggerTypeHasItsCause) {
  for (int type = 0; type <= static_cast<int>(TriggerType::never); ++type) add(static_cast<TriggerType>(type));
  lab.start();
  const auto only = [&](std::initializer_list<TriggerType> types) {
    std::string text;
    for (const TriggerType type : types) text += static_cast<char>('0' + static_cast<int>(type));
    std::sort(text.begin(), text.end());
    const std::string sounding = heard();
    rest();
    EXPECT_EQ(sounding, text);
  };
  using enum TriggerType;
  lab.press(60);
  only({keyPress, firstKey, roundRobin, randomChoice});
  lab.press(64);
  only({keyPress, legato, roundRobin, randomChoice, legatoUp});
  lab.press(62);
  only({keyPress, legato, roundRobin, randomChoice, legatoDown});
  lab.lift(62);
  lab.lift(64);
  rest();
  lab.lift(60);
  rest();
  lab.press(60);
  rest();
  lab.press(60);
  only({keyPress, firstKey, roundRobin, randomChoice, sameKey});
  lab.control(64, 127);
  only({sustainPress});
  lab.control(64, 0);
  only({sustainRelease});
  lab.control(66, 127);
  only({sostenutoPress});
  lab.control(66, 0);
  only({sostenutoRelease});
  lab.control(67, 127);
  only({softPress});
  lab.control(67, 0);
  only({softRelease});
}

TEST_F(Tones, ReleaseSamplesWaitForThePedal) {
  addLooped(), add(TriggerType::keyRelease), add(TriggerType::keyReleaseNoPedal), add(TriggerType::lastKeyRelease);
  lab.start();
  lab.control(64, 127);
  lab.press();
  EXPECT_EQ(heard(), "0");
  lab.lift();
  EXPECT_EQ(heard(), "02");
  rest();
  lab.control(64, 0);
  EXPECT_EQ(heard(), "13");
  rest();
  lab.press(60), lab.press(64), lab.lift(60);
  EXPECT_EQ(heard(), "012");  // another key is down
  rest();
  EXPECT_EQ(heard(), "0");
}

TEST_F(Tones, RoundRobinTakesTurnsWithinALayer) {
  for (int i = 0; i < 3; ++i) add(TriggerType::roundRobin);
  lab.start();
  std::string turns;
  for (int i = 0; i < 6; ++i) {
    lab.press();
    turns += heard();
    rest();
    lab.lift();
  }
  EXPECT_EQ(turns, "012012");
}

TEST_F(Tones, SustainAndSostenutoHoldNotes) {
  addLooped();
  addLooped().trigger.set(P::triggerLowKey, 70);
  lab.start();
  lab.press(60);
  lab.control(66, 127);
  lab.press(72);
  lab.lift(60), lab.lift(72);
  rest();
  EXPECT_EQ(heard(), "0");
  lab.control(64, 127), lab.control(66, 0);
  EXPECT_EQ(heard(), "0");
  lab.control(64, 0);
  rest();
  EXPECT_EQ(heard(), "");
}

TEST_F(Tones, GroupsAndSelfExclusion) {
  const auto after = [&](float group, float mode, int secondKey) {
    SoundLab other;
    Region& first = other.add(sineFrames(500, 48000));
    Region& second = other.add(sineFrames(1000, 48000));
    for (Region* region : {&first, &second}) {
      region->articulation.set(P::keyToPitch, 0);
      region->trigger.set(P::keyExclusionGroup, group), region->trigger.set(P::noteExclusionMode, mode);
    }
    first.trigger.set(P::triggerHighKey, 60), first.trigger.set(P::triggerHighVelocity, 100);
    second.trigger.set(P::triggerLowVelocity, 101);
    other.start();
    other.press(60, 100);
    other.left(0.1);
    other.press(secondKey, 127);
    const Frames sound = other.left(0.1);
    return levelAt(part(sound, 0.03, 0.1), 500) > 0.02;
  };
  EXPECT_FALSE(after(0, 0, 60));  // self exclusive
  EXPECT_TRUE(after(0, 0, 64));
  EXPECT_TRUE(after(0, 1, 60));   // non-exclusive
  EXPECT_FALSE(after(3, 1, 64));  // one group
}

TEST_F(Tones, PedalSwitchDelayRangesAndMonoMode) {
  addLooped().trigger.set(P::triggerSustainSwitch, 1);
  addLooped().trigger.set(P::triggerSustainSwitch, 2);
  addLooped().trigger.set(P::triggerDelay, 0.25f);
  addLooped().trigger.set(P::triggerHighVelocity, 64);
  lab.start();
  lab.press(60, 65);
  EXPECT_EQ(heard(), "0");
  lab.left(0.16);
  EXPECT_EQ(heard(), "02");
  lab.control(120, 0);
  lab.control(64, 127);
  lab.press(60, 64);
  EXPECT_EQ(heard(), "13");
  lab.control(120, 0), lab.control(64, 0), lab.control(126, 0);
  lab.left(0.1);
  lab.press(60), lab.press(64);
  EXPECT_EQ(heard(), "0");
  EXPECT_EQ(lab.engine->activeVoices(), 2u);  // one waits for its delay
}

}  // namespace
}  // namespace tervo::test
