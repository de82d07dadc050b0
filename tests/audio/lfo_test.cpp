#include "audio/engine/lfo.h"
#include "tests/audio/sound_lab.h"

namespace tervo::test {
namespace {

/// The tremolo that a V-LFO of 6 dB makes of a constant: its level in dB every block.
std::vector<double> tremolo(const std::function<void(ArticulationSet&)>& set, double seconds,
                            const std::function<void(SoundLab&)>& play = {}) {
  SoundLab lab;
  ArticulationSet& rows = lab.addConstant().articulation;
  rows.set(P::panPosition, -1);
  rows.set(P::vLfoToVolume, 6);
  set(rows);
  lab.start();
  if (play) play(lab);
  lab.press();
  const Frames sound = lab.left(seconds);
  std::vector<double> levels;
  for (std::size_t i = 63; i < sound.size(); i += 64) levels.push_back(dB(static_cast<double>(sound[i]) + 1e-12));
  return levels;
}
constexpr double blocksPerSecond = rate / 64;
double at(const std::vector<double>& levels, double seconds) {
  return levels[static_cast<std::size_t>(seconds * blocksPerSecond)];
}

TEST(Lfo, ShapesRateAndDepth) {
  // By quarters of a turn of half a second: just behind the start, and at 1/4, 1/2 (just behind), 3/4 of it.
  struct Case {
    float shape;
    double start, quarter, half, threeQuarters;
  };
  const Case cases[] = {{0, 0, 1, 0, -1},     {1, 0.5, 1, 0.5, 0},    {2, 1, 1, -1, -1},     {3, 1, 1, 0, 0},
                        {4, 0, 1, 0, -1},     {5, 0.5, 1, 0.5, 0},    {6, -1, -0.5, 0, 0.5}, {7, 0, 0.25, 0.5, 0.75},
                        {8, 1, 0.5, 0, -0.5}, {9, 1, 0.75, 0.5, 0.25}};
  for (const Case& each : cases) {
    const auto levels =
        tremolo([&](ArticulationSet& rows) { rows.set(P::vLfoShape, each.shape), rows.set(P::vLfoFrequency, 2); }, 1.2);
    EXPECT_NEAR(at(levels, 0.502), 6 * each.start, 0.4) << each.shape;
    EXPECT_NEAR(at(levels, 0.625), 6 * each.quarter, 0.1) << each.shape;
    EXPECT_NEAR(at(levels, 0.752), 6 * each.half, 0.4) << each.shape;
    EXPECT_NEAR(at(levels, 0.875), 6 * each.threeQuarters, 0.1) << each.shape;
  }
}

TEST(Lfo, NoiseHoldsAValueForATurn) {
  for (const float shape : {10.0f, 11.0f}) {
    const auto levels =
        tremolo([&](ArticulationSet& rows) { rows.set(P::vLfoShape, shape), rows.set(P::vLfoFrequency, 5); }, 2);
    int different = 0;
    for (double turn = 0.2; turn < 1.7; turn += 0.2) {
      EXPECT_NEAR(at(levels, turn + 0.02), at(levels, turn + 0.18), 1e-3);
      different += std::fabs(at(levels, turn + 0.02) - at(levels, turn + 0.22)) > 0.01;
    }
    EXPECT_GE(different, 6);
    EXPECT_GE(*std::min_element(levels.begin() + 5, levels.end()), shape == 11 ? -1e-3 : -6.001);
  }
}

TEST(Lfo, DelayAndRamp) {
  const auto levels = tremolo(
      [](ArticulationSet& rows) {
        rows.set(P::vLfoShape, 3), rows.set(P::vLfoFrequency, 0.01f);
        rows.set(P::vLfoDelay, 0.3f), rows.set(P::vLfoRamp, 0.4f);
      },
      1);
  EXPECT_NEAR(at(levels, 0.29), 0, 0.01);
  EXPECT_NEAR(at(levels, 0.5), 3, 0.05);
  EXPECT_NEAR(at(levels, 0.75), 6, 0.01);
}

TEST(Lfo, DepthFollowsWheelPressureAndVelocity) {
  const auto square = [](ArticulationSet& rows) {
    rows.set(P::vLfoShape, 3), rows.set(P::vLfoFrequency, 0.01f), rows.set(P::vLfoToVolume, 1);
    rows.set(P::modWheelToVLfoToVolume, 4), rows.set(P::aftertouchToVLfoToVolume, 2);
    rows.set(P::velocityToVLfoToVolume, 3);
  };
  EXPECT_NEAR(at(tremolo(square, 0.1), 0.05), 4, 0.01);
  EXPECT_NEAR(at(tremolo(square, 0.1, [](SoundLab& lab) { lab.control(1, 127); }), 0.05), 8, 0.01);
  EXPECT_NEAR(at(tremolo(square, 0.1, [](SoundLab& lab) { lab.send(0xD0, 127); }), 0.05), 6, 0.01);
}

TEST(Lfo, VibratoAndPanReachTheirDepth) {
  SoundLab lab;
  ArticulationSet& rows = lab.addSine(480).articulation;
  rows.set(P::pLfoShape, 2), rows.set(P::pLfoFrequency, 1), rows.set(P::pLfoToPitch, 3);
  rows.set(P::xLfoShape, 2), rows.set(P::xLfoFrequency, 1), rows.set(P::xLfoToPan, 1), rows.set(P::xLfoToPitch, -1);
  lab.start();
  lab.press();
  const auto sound = lab.render(1);
  EXPECT_NEAR(centsBetween(hertzOf(part(sound.right, 0.1, 0.45)), 480), 200, 0.5);
  EXPECT_NEAR(centsBetween(hertzOf(part(sound.left, 0.55, 0.95)), 480), -200, 0.5);
  EXPECT_NEAR(rms(part(sound.left, 0.1, 0.45)), 0, 1e-4);
  EXPECT_NEAR(rms(part(sound.right, 0.55, 0.95)), 0, 1e-4);
}

TEST(Lfo, TheSineIsASine) {
  for (float phase = 0; phase < 1; phase += 0.01f)
    EXPECT_NEAR(audio::sineOfTurn(phase), std::sin(2 * std::numbers::pi * static_cast<double>(phase)), 1e-6);
  EXPECT_FLOAT_EQ(audio::hertzOfKey(69), 440);
  EXPECT_EQ(audio::gainOfLevel(0), 0);
}

}  // namespace
}  // namespace tervo::test
