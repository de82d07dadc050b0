#include "tests/audio/sound_lab.h"

namespace tervo::test {
namespace {

/// Both sides of a steady sound.
struct Level {
  double left, right;
  double both() const { return std::hypot(left, right); }
};
Level playedLevel(SoundLab& lab, int velocity = 127, int key = 60) {
  lab.press(key, velocity);
  lab.render(0.2);
  const auto sound = lab.render(0.1);
  return {rms(sound.left), rms(sound.right)};
}

TEST(Level, VelocityFollowsTheSquareWithinItsRange) {
  const auto gain = [](float range, int velocity) {
    SoundLab lab;
    lab.addConstant().articulation.set(P::velocityToVolume, range);
    lab.start();
    return playedLevel(lab, velocity).both();
  };
  const double full = gain(96, 127);
  EXPECT_NEAR(full, 1, 1e-3);
  EXPECT_NEAR(gain(96, 64) / full, 0.25396, 1e-3);  // (64 / 127)^2
  EXPECT_NEAR(gain(0, 1) / full, 1, 1e-3);
  EXPECT_NEAR(dB(gain(20, 1) / full), -20, 0.01);
  EXPECT_NEAR(gain(-96, 63) / full, 0.25396, 1e-3);
}

TEST(Level, RowsAndControllers) {
  struct Case {
    const char* name;
    std::function<void(SoundLab&, Region&)> prepare;
    std::function<void(SoundLab&)> play;
    double dB;
  };
  const auto row = [](P id, float value) {
    return [=](SoundLab&, Region& region) { region.articulation.set(id, value); };
  };
  const auto nothing = [](SoundLab&) {};
  const Case cases[] = {
      {"attenuation", row(P::masterVolume, -12), nothing, -12},
      {"waveform", [](SoundLab& lab, Region&) { lab.collection.waveforms()[0]->gain = 5; }, nothing, 5},
      {"wheel", row(P::modWheelToVolume, -20), [](SoundLab& lab) { lab.control(1, 127); }, -20},
      {"pressure", row(P::aftertouchToVolume, -6), [](SoundLab& lab) { lab.send(0xD0, 127); }, -6},
      {"volume", row(P::masterVolume, 0), [](SoundLab& lab) { lab.control(7, 50); }, 40 * std::log10(50 / 127.0)},
      {"expression", row(P::masterVolume, 0), [](SoundLab& lab) { lab.control(11, 64); }, 40 * std::log10(64 / 127.0)},
      {"reset", row(P::masterVolume, 0), [](SoundLab& lab) { lab.control(11, 64), lab.control(121, 0); },
       40 * std::log10(100 / 127.0)},
      {"soft pedal", row(P::masterVolume, 0), [](SoundLab& lab) { lab.control(67, 127); }, 40 * std::log10(84 / 127.0)},
  };
  SoundLab plain;
  plain.addConstant();
  plain.start();
  const double reference = playedLevel(plain).both();
  for (const Case& each : cases) {
    SoundLab lab;
    Region& region = lab.addConstant();
    each.prepare(lab, region);
    lab.start();
    each.play(lab);
    EXPECT_NEAR(dB(playedLevel(lab).both() / reference), each.dB, 0.05) << each.name;
  }
}

TEST(Level, KeyToVolumeIsPerOctaveAroundMiddleC) {
  SoundLab lab;
  lab.addConstant().articulation.set(P::keyToVolume, 6);
  lab.start();
  const double middle = playedLevel(lab, 127, 60).both();
  lab.control(120, 0);
  lab.render(0.1);
  EXPECT_NEAR(dB(playedLevel(lab, 127, 36).both() / middle), -12, 0.05);
}

TEST(Level, PanHasEqualPower) {
  const auto panned = [](float row, int cc10) {
    SoundLab lab;
    lab.addConstant().articulation.set(P::panPosition, row);
    lab.start();
    lab.control(10, cc10);
    return playedLevel(lab);
  };
  const Level centre = panned(0, 64), left = panned(-1, 64), right = panned(0, 127), quarter = panned(0.5f, 63);
  EXPECT_NEAR(centre.left, centre.right, 1e-6);
  EXPECT_NEAR(dB(centre.left / left.left), -3.01, 0.01);
  EXPECT_NEAR(left.right, 0, 1e-6);
  EXPECT_NEAR(right.left, 0, 1e-6);
  EXPECT_NEAR(quarter.both(), left.left, 1e-4);
  EXPECT_NEAR(quarter.right / quarter.left, std::tan(3 * std::numbers::pi / 8), 1e-3);
}

TEST(Level, StereoIsInPhaseAndAsLoudAsAPannedPair) {
  SoundLab lab;
  Frames both;
  const Frames tone = sineFrames(500, 4800);
  for (const float x : tone) both.push_back(x), both.push_back(-0.5f * x);
  lab.add(both, 2, SoundLab::loopOver(0, 4800));
  lab.start();
  lab.press(67);  // where frames have to be interpolated
  lab.render(0.1);
  const auto sound = lab.render(0.1);
  EXPECT_NEAR(rms(sound.left), std::sqrt(0.5), 0.01);
  for (std::size_t i = 0; i < sound.left.size(); ++i) EXPECT_NEAR(sound.right[i], -0.5f * sound.left[i], 1e-6f);
  EXPECT_EQ(lab.engine->activeVoices(), 1u);
}

TEST(Level, CrossFadesMeetAtTheirEdge) {
  for (const bool isLinear : {false, true}) {
    const auto levelOf = [&](bool lower, int key) {
      SoundLab lab;
      Region& region = lab.addConstant();
      region.trigger.set(lower ? P::triggerHighKey : P::triggerLowKey, lower ? 59.0f : 60.0f);
      region.trigger.set(lower ? P::triggerKeyFadeOut : P::triggerKeyFadeIn, 8);
      region.trigger.set(P::triggerKeyFadeFormula, isLinear ? 1.0f : 0.0f);
      lab.start();
      return playedLevel(lab, 127, key).both();
    };
    for (const int key : {57, 60, 62}) {
      const double a = levelOf(true, key), b = levelOf(false, key);
      EXPECT_NEAR(isLinear ? a + b : a * a + b * b, 1, 1e-3) << key;
    }
    EXPECT_EQ(levelOf(false, 55), 0);
  }
}

TEST(Level, SamplesThatAreNoNumbersAreSilent) {
  Frames frames(4800, 0.5f);
  frames[10] = std::numeric_limits<float>::quiet_NaN();
  frames[20] = std::numeric_limits<float>::infinity();
  SoundLab lab;
  Region& region = lab.add(std::move(frames));
  region.articulation.set(P::filterType, 2);
  region.articulation.set(P::send1Level, 0.5f);
  region.articulation.set(P::send3Level, 0.5f);
  lab.start(Engine::Setup{});
  lab.press();
  const auto heard = lab.render(0.3);
  for (const Frames& side : {heard.left, heard.right})
    EXPECT_TRUE(std::all_of(side.begin(), side.end(), [](float x) { return std::fabs(x) < 10; }));
  EXPECT_GT(peak(part(heard.left, 0.02, 0.1)), 0.05);
}

}  // namespace
}  // namespace tervo::test
