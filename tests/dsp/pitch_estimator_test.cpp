#include "dsp/pitch_estimator.h"

#include <gtest/gtest.h>

#include <limits>

#include "tests/dsp/tones.h"

namespace tervo {
namespace {

double cents(double a, double b) {
  return 1200 * std::log2(a / b);
}

TEST(PitchEstimator, findsTonesInNoiseFromTheLowestToTheHighestKey) {
  int notes = 0, right = 0, octaves = 0;
  for (const auto& model : tones::models) {
    for (double hertz = 27.5; hertz < 4200; hertz *= 1.83) {
      auto sound = tones::tone(model, hertz, 0.25);
      tones::addNoise(sound, 20);
      const auto pitch = estimatePitch(sound, 44100);
      ++notes;
      const double off = pitch ? cents(pitch->hertz, hertz) : 9999;
      if (std::abs(off) <= 10) {
        ++right;
        continue;
      }
      const double inOctaves = off / 1200;
      if (pitch && std::abs(inOctaves - std::round(inOctaves)) < 0.03) ++octaves;
      std::cout << model.name << " of " << hertz << " Hz: " << off << " cents off\n";
    }
  }
  EXPECT_GE(right, 0.98 * notes);
  EXPECT_EQ(octaves, 0);
}

TEST(PitchEstimator, findsNothingWhereThereIsNoPitch) {
  EXPECT_FALSE(estimatePitch(tones::noise(22050), 44100)) << "noise";
  EXPECT_FALSE(estimatePitch(std::vector<float>(4410, 0.0f), 44100)) << "silence";
  EXPECT_FALSE(estimatePitch(std::vector<float>(4410, 0.7f), 44100)) << "a constant";
  for (const std::size_t frames : {0U, 1U, 31U, 32U, 33U})
    EXPECT_FALSE(estimatePitch(tones::noise(frames), 44100)) << frames << " frames";
  EXPECT_FALSE(estimatePitch(tones::tone(tones::models[1], 440, 0.3), 0)) << "no rate";
  auto cluster = tones::tone(tones::models[1], 440, 0.3);
  for (const double semitones : {1.1, 3.2, 6.3, 10.4}) {
    const auto other = tones::tone(tones::models[1], 440 * std::exp2(semitones / 12), 0.3);
    for (std::size_t i = 0; i < cluster.size(); ++i) cluster[i] += other[i];
  }
  EXPECT_FALSE(estimatePitch(cluster, 44100)) << "five tones at once";
}

TEST(PitchEstimator, toleranceCoversVibratoAndIsNarrowForSteadyTones) {
  tones::Model model = tones::models[6];
  model.vibratoCents = 40;
  const auto wide = estimatePitch(tones::tone(model, 220, 1), 44100);
  ASSERT_TRUE(wide);
  const double spread = cents(wide->hertz + wide->tolerance, wide->hertz);
  EXPECT_GT(spread, 20);
  EXPECT_LT(spread, 45);
  const auto narrow = estimatePitch(tones::tone(tones::models[1], 220, 1), 44100);
  ASSERT_TRUE(narrow);
  EXPECT_NEAR(cents(narrow->hertz + narrow->tolerance, narrow->hertz), 5, 0.1);
}

TEST(PitchEstimator, refinesToAFractionOfACent) {
  for (const double hertz : {31.7, 441.3, 3519.1}) {
    const auto sound = tones::tone(tones::models[1], hertz, 0.7);
    const auto pitch = estimatePitch(sound, 44100);
    ASSERT_TRUE(pitch);
    EXPECT_NEAR(cents(refinePitch(sound, 44100, *pitch), hertz), 0, 0.3) << hertz;
    const Pitch elsewhere{hertz * 1.1, hertz * 0.01};
    EXPECT_GE(refinePitch(sound, 44100, elsewhere), elsewhere.hertz - elsewhere.tolerance);
  }
}

TEST(PitchEstimator, passesOverSamplesThatAreNoNumbers) {
  auto sound = tones::tone(tones::models[1], 220, 0.6);
  sound[3000] = std::numeric_limits<float>::infinity();
  sound[9000] = std::numeric_limits<float>::quiet_NaN();
  const auto pitch = estimatePitch(sound, 44100);
  ASSERT_TRUE(pitch);
  EXPECT_NEAR(cents(pitch->hertz, 220), 0, 10);
}

TEST(PitchEstimator, takesAnySamplingRate) {
  for (const double rate : {4000.0, 8000.0, 96000.0}) {
    const auto pitch = estimatePitch(tones::tone(tones::models[1], 220, 0.5, rate), rate);
    ASSERT_TRUE(pitch) << rate;
    EXPECT_NEAR(cents(pitch->hertz, 220), 0, 10) << rate;
  }
}

}  // namespace
}  // namespace tervo
