#include "core/envelope.h"
#include "tests/audio/sound_lab.h"

namespace tervo::test {
namespace {

/// When a sound first comes to a level (0..1 of `full`), in seconds; below 0 when it never does.
double timeOfLevel(const Frames& sound, double level, bool rising, double from = 0) {
  for (std::size_t i = static_cast<std::size_t>(from * rate); i < sound.size(); ++i) {
    const double size = std::fabs(static_cast<double>(sound[i])) * std::numbers::sqrt2;  // of a centred sound
    if (rising ? size >= level : size <= level) return static_cast<double>(i) / rate;
  }
  return -1;
}

struct Envelope {
  SixStageEnvelope stages;
  int key = 60, velocity = 127;
  double liftAt = 1;
};
Frames played(const Envelope& envelope) {
  SoundLab lab;
  Region& region = lab.addConstant();
  setEnvelope(region.articulation, Modulator::volume, envelope.stages);
  region.articulation.set(P::velocityToVolume, 0);
  lab.start();
  lab.press(envelope.key, envelope.velocity);
  Frames sound = lab.left(envelope.liftAt);
  lab.lift(envelope.key);
  const Frames rest = lab.left(2);
  sound.insert(sound.end(), rest.begin(), rest.end());
  return sound;
}

constexpr double block = 64 / rate;

TEST(AmplitudeEnvelope, StagesTakeTheirTimes) {
  Envelope envelope;
  envelope.stages = {{0.1f}, {0.2f}, {0.15f}, {0.4f}, 0.75f, {1.0f}};
  const Frames sound = played(envelope);
  EXPECT_NEAR(timeOfLevel(sound, 1e-3, true), 0.1, 2 * block);
  EXPECT_NEAR(timeOfLevel(sound, 0.5, true), 0.2, block);  // rises in gain
  EXPECT_NEAR(timeOfLevel(sound, 0.999, true), 0.3, block);
  EXPECT_NEAR(timeOfLevel(sound, 0.99, false, 0.31), 0.45, 2 * block);
  EXPECT_NEAR(timeOfLevel(sound, std::pow(10, -12 / 20.0), false, 0.31), 0.5, block);  // falls in dB: 96 in 0.4 s
  EXPECT_NEAR(timeOfLevel(sound, std::pow(10, -23.9 / 20.0), false, 0.31), 0.55, 2 * block);  // and ends at the sustain
  EXPECT_NEAR(dB(peak(part(sound, 0.9, 1)) * std::numbers::sqrt2), -24, 0.01);
  // The release falls 96 dB a second, so from the sustain level to silence it has 0.75 s.
  EXPECT_NEAR(timeOfLevel(sound, std::pow(10, -72 / 20.0), false, 1), 1.5, 2 * block);
  EXPECT_EQ(peak(part(sound, 1.76, 3)), 0);
}

TEST(AmplitudeEnvelope, AttackAndReleaseAreNeverClicks) {
  const Frames sound = played({{{0}, {0}, {0}, {0}, 1, {0}}});
  EXPECT_LT(std::fabs(sound[8]), 0.25f);
  EXPECT_GT(timeOfLevel(sound, 0.99, true), 0.0009);
  EXPECT_GT(timeOfLevel(sound, 1e-4, false, 1), 1.0015);
  EXPECT_LT(timeOfLevel(sound, 1e-4, false, 1), 1.0045);
}

TEST(AmplitudeEnvelope, KeyAndVelocityScaleTheTimes) {
  const double sixDown = std::pow(10, -6 / 20.0);
  const auto times = [&](int key, int velocity) {
    Envelope envelope{{{0.08f, 2, 0.5f}, {0.2f, 4, 0.5f}, {0.08f, 2, 1}, {1.6f, 2, 0.5f}, 0.5f, {1.6f, 2, 0.5f}}};
    envelope.key = key, envelope.velocity = velocity, envelope.liftAt = 2.5;
    const Frames sound = played(envelope);
    const double begin = timeOfLevel(sound, 1e-3, true), full = timeOfLevel(sound, 0.999, true);
    const double fall = timeOfLevel(sound, 0.99, false, full);
    const double sustained = peak(part(sound, 2.4, 2.5)) * std::numbers::sqrt2;
    return std::array{begin, full - begin, fall - full, timeOfLevel(sound, sixDown, false, full) - fall,
                      timeOfLevel(sound, sustained * sixDown, false, 2.5) - 2.5};
  };
  const auto usual = times(60, 64), soft = times(60, 1), hard = times(60, 127), high = times(72, 64);
  constexpr std::array seconds{0.08, 0.2, 0.08, 0.1, 0.1}, byVelocity{2.0, 4.0, 2.0, 2.0, 2.0},
      byOctave{0.5, 0.5, 1.0, 0.5, 0.5};
  for (std::size_t i = 0; i < usual.size(); ++i) {
    EXPECT_NEAR(usual[i], seconds[i], 0.005) << i;
    EXPECT_NEAR(hard[i] / soft[i], byVelocity[i], 0.12) << i;
    EXPECT_NEAR(high[i] / usual[i], byOctave[i], 0.05) << i;
  }
}

TEST(AmplitudeEnvelope, OneShotsIgnoreTheEndOfTheKey) {
  SoundLab lab;
  Region& region = lab.add(Frames(24000, 1.0f));
  region.articulation.set(P::vEnvReleaseMode, 1);
  lab.start();
  lab.press();
  lab.left(0.1);
  lab.lift();
  const Frames sound = lab.left(0.5);
  EXPECT_GT(rms(part(sound, 0.3, 0.39)), 0.7);
  EXPECT_EQ(peak(part(sound, 0.42, 0.5)), 0);
}

TEST(AmplitudeEnvelope, ThreeReleasesFollowOneAnother) {
  SoundLab lab;
  ArticulationSet& rows = lab.addConstant().articulation;
  rows.set(P::vEnvRelease1Rate, 0.4f), rows.set(P::vEnvRelease1Level, 0.75f);   // 0.1 s down to -24 dB
  rows.set(P::vEnvRelease2Time, 0.2f), rows.set(P::vEnvRelease2Level, 0.875f);  // up to -12 dB
  rows.set(P::vEnvRelease3Time, 0.3f), rows.set(P::vEnvRelease3Level, 0);
  lab.start();
  lab.press();
  lab.left(0.2);
  lab.lift();
  const Frames sound = lab.left(1);
  EXPECT_NEAR(timeOfLevel(sound, std::pow(10, -23.9 / 20.0), false), 0.1, 2 * block);
  EXPECT_NEAR(timeOfLevel(sound, std::pow(10, -12.1 / 20.0), true, 0.11), 0.3, 3 * block);
  EXPECT_EQ(peak(part(sound, 0.61, 1)), 0);
}

TEST(ModulationEnvelope, MovesThePitchByItsDepth) {
  SoundLab lab;
  ArticulationSet& rows = lab.addSine(480).articulation;
  setEnvelope(rows, Modulator::pitch, {{0.1f}, {0.2f}, {0}, {0.4f}, 0.5f, {0}});
  rows.set(P::pEnvToPitch, 10), rows.set(P::velocityToPEnvToPitch, 2);
  lab.start();
  lab.press();
  const Frames sound = lab.left(1);
  EXPECT_NEAR(centsBetween(hertzOf(part(sound, 0.02, 0.098)), 480), 0, 1);
  EXPECT_NEAR(centsBetween(hertzOf(part(sound, 0.195, 0.205)), 480), 600, 30);  // half of 12
  EXPECT_NEAR(centsBetween(hertzOf(part(sound, 0.6, 1)), 480), 600, 0.5);
}

}  // namespace
}  // namespace tervo::test
