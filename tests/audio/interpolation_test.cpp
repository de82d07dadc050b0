#include "tests/audio/sound_lab.h"

namespace tervo::test {
namespace {

/// What is in a sound beside one tone, by its dB below that tone.
double restBelow(const Frames& sound, double hertz) {
  Frames windowed(sound);
  for (std::size_t i = 0; i < sound.size(); ++i)
    windowed[i] *= static_cast<float>(
        0.5 - 0.5 * std::cos(2 * std::numbers::pi * static_cast<double>(i) / static_cast<double>(sound.size())));
  const double tone = levelAt(sound, hertz);
  // Of a tone under that window, the mean square is 3 / 8 of the half of its square.
  const double all = rms(windowed) * rms(windowed);
  return dB(tone) - dB(std::sqrt(std::max(all - tone * tone * 3 / 16, 1e-14) * 16 / 3));
}

Frames played(audio::Interpolation interpolation, double hertz, int key, std::size_t loopFrames = 48000) {
  SoundLab lab;
  lab.add(sineFrames(hertz, 48000), 1, SoundLab::loopOver(0, static_cast<double>(loopFrames)));
  Engine::Setup setup;
  setup.hasEffects = false;
  setup.interpolation = interpolation;
  lab.start(setup);
  lab.press(key);
  lab.left(0.1);
  return lab.left(0.05);  // short, so that the pitch may be off by a millionth
}

TEST(Interpolation, TheSincHasNoImages) {
  // Seven keys up the 9 kHz tone has 13485 Hz, and the cubic an image of it at 48 - 1.498 (48 - 9) = -10.4 kHz.
  const double ratio = std::exp2(7 / 12.0);
  EXPECT_LT(restBelow(played(audio::Interpolation::cubic, 9000, 67), 9000 * ratio), 40);
  EXPECT_GT(restBelow(played(audio::Interpolation::sinc, 9000, 67), 9000 * ratio), 70);
  EXPECT_GT(restBelow(played(audio::Interpolation::sinc, 9000, 49), 9000 * std::exp2(-11 / 12.0)), 70);
}

TEST(Interpolation, TheSincLeavesOutWhatThePitchTakesAboveTheBand) {
  EXPECT_GT(peak(played(audio::Interpolation::cubic, 20000, 72)), 0.1);
  EXPECT_LT(dB(peak(played(audio::Interpolation::sinc, 20000, 72))), -70);
  EXPECT_LT(dB(peak(played(audio::Interpolation::sinc, 20000, 90))), -70);
}

TEST(Interpolation, TheSincKeepsTheBandAndItsLevel) {
  for (const int key : {59, 60, 61, 66}) {
    for (const double hertz : {100.0, 1000.0, 10000.0}) {
      const double heard = hertz * std::exp2((key - 60) / 12.0);
      if (heard > 14000) continue;
      const double level = levelAt(played(audio::Interpolation::sinc, hertz, key), heard) * std::numbers::sqrt2;
      EXPECT_NEAR(dB(level), 0, 0.02) << key << " " << hertz;
    }
  }
}

TEST(Interpolation, LoopsShorterThanTheSincGoOnUnheard) {
  EXPECT_GT(restBelow(played(audio::Interpolation::sinc, 1000, 67, 48), 1000 * std::exp2(7 / 12.0)), 80);
  EXPECT_GT(restBelow(played(audio::Interpolation::sinc, 4000, 81, 12), 4000 * std::exp2(21 / 12.0)), 80);
}

}  // namespace
}  // namespace tervo::test
