#include "tests/audio/sound_lab.h"

namespace tervo::test {
namespace {

double playedHertz(SoundLab& lab, int key = 60) {
  lab.press(key);
  lab.left(0.05);
  return hertzOf(lab.left(0.5));
}

TEST(Pitch, KeysAreEqualTempered) {
  for (const int key : {24, 48, 60, 61, 69, 84, 96}) {
    SoundLab lab;
    lab.addSine(440);
    lab.start();
    const double wanted = 440 * std::exp2((key - 60) / 12.0);
    EXPECT_LT(std::fabs(centsBetween(playedHertz(lab, key), wanted)), 0.2) << key;
  }
}

TEST(Pitch, RowsAndTheWaveformTuneIt) {
  struct Case {
    P row;
    float value;
    int key;
    double semitones;
  };
  const Case cases[] = {{P::masterTuning, 3.5f, 60, 3.5},
                        {P::keyToPitch, 0.5f, 72, 6},
                        {P::keyToPitch, 0, 84, 0},
                        {P::rootKeyOverride, 48, 60, 12}};
  for (const Case& each : cases) {
    SoundLab lab;
    Region& region = lab.addSine(440);
    (isArticulation(each.row) ? region.articulation : region.trigger).set(each.row, each.value);
    lab.start();
    EXPECT_NEAR(centsBetween(playedHertz(lab, each.key), 440), 100 * each.semitones, 0.3);
  }
}

TEST(Pitch, SampleRateAndFineTune) {
  SoundLab lab;
  lab.addSine(440);
  lab.collection.waveforms()[0]->sampleRate = 32000;
  lab.collection.waveforms()[0]->fineTune = -25;
  lab.start();
  EXPECT_NEAR(centsBetween(playedHertz(lab), 440.0 * 32000 / 48000), -25, 0.3);
}

TEST(Pitch, BendReachesItsRangeAtBothEnds) {
  const auto bent = [](int value, int range, float row) {
    SoundLab lab;
    lab.addSine(440).articulation.set(P::pitchBendToPitch, row);
    lab.start();
    if (range > 0) {
      lab.control(101, 0), lab.control(100, 0);
      lab.control(6, range), lab.control(38, 50);
    }
    lab.send(0xE0, value & 0x7F, value >> 7);
    return centsBetween(playedHertz(lab), 440);
  };
  EXPECT_NEAR(bent(16383, 0, 2), 200, 0.3);
  EXPECT_NEAR(bent(0, 0, 2), -200, 0.3);
  EXPECT_NEAR(bent(8192, 0, 2), 0, 0.3);
  EXPECT_NEAR(bent(16383, 0, -5), -500, 0.3);
  EXPECT_NEAR(bent(16383, 12, 2), 1250, 0.3);
  EXPECT_NEAR(bent(16383, 12, 0), 0, 0.3);
}

TEST(Pitch, RegisteredTuning) {
  const auto tuned = [](int parameter, int coarse, int fine, int controller, int steps) {
    SoundLab lab;
    lab.addSine(440);
    lab.start();
    lab.control(101, 0), lab.control(100, parameter), lab.control(6, coarse), lab.control(38, fine);
    for (int i = 0; i < steps; ++i) lab.control(controller, 0);
    if (parameter == 0) lab.send(0xE0, 127, 127);
    return centsBetween(playedHertz(lab), 440);
  };
  constexpr int up = 96, down = 97;
  EXPECT_NEAR(tuned(1, 96, 0, up, 0), 50, 0.3);
  EXPECT_NEAR(tuned(1, 63, 64, up, 2000), -0.78 + 100 * 2000 / 8192.0, 0.3);
  EXPECT_NEAR(tuned(2, 66, 0, up, 0), 200, 0.3);
  EXPECT_NEAR(tuned(2, 66, 0, down, 5), -300, 0.3);
  EXPECT_NEAR(tuned(0, 1, 90, up, 20), 210, 0.3);
}

TEST(Pitch, PhaseGroupsShareWhatIsRandom) {
  const auto apart = [](float group) {
    SoundLab lab;
    for (const float side : {-1.0f, 1.0f}) {
      Region& region = lab.addSine(440);
      region.articulation.set(P::panPosition, side), region.articulation.set(P::randomToPitch, 3);
      region.trigger.set(P::phaseGroup, group);
    }
    lab.start();
    lab.press();
    lab.left(0.05);
    const auto sound = lab.render(0.5);
    return std::fabs(centsBetween(hertzOf(sound.left), hertzOf(sound.right)));
  };
  EXPECT_EQ(apart(2), 0);
  EXPECT_GT(apart(0), 5);
}

TEST(Pitch, PortamentoGlidesInItsTime) {
  SoundLab lab;
  lab.addSine(440);
  lab.start();
  lab.control(65, 127), lab.control(5, 3), lab.control(37, 16);  // 400 ms
  lab.press(60);
  lab.left(0.1);
  lab.press(72);
  lab.lift(60);
  const Frames glide = lab.left(0.6);
  EXPECT_NEAR(centsBetween(hertzOf(part(glide, 0.19, 0.21)), 440), 600, 40);
  EXPECT_NEAR(centsBetween(hertzOf(part(glide, 0.45, 0.6)), 440), 1200, 1);
}

}  // namespace
}  // namespace tervo::test
