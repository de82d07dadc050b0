#include "tools/loop/loop_finder.h"

#include <gtest/gtest.h>

#include <cmath>

#include "dsp/high_pass.h"
#include "tests/dsp/tones.h"

namespace tervo {
namespace {

constexpr double rate = 44100;
const SearchProgress goOn = [](double) { return true; };

TEST(LoopFinder, loopsWholePeriodsOfATone) {
  for (const double hertz : {82.4, 261.6, 1046.5}) {
    auto sound = tones::tone(tones::models[1], hertz, 0.5);
    LoopFinderOptions options{.part = {20, 90, 5}, .fractionalStart = true, .tune = true};
    const auto found = findLoop(sound, 1, rate, options, goOn);
    ASSERT_TRUE(found.loop) << hertz;
    const double periods = (found.loop->end - found.loop->start) * hertz / rate;
    EXPECT_NEAR(std::log2(std::round(periods)), std::round(std::log2(periods)), 1e-9) << "not 1, 2, 4 ... periods";
    EXPECT_NEAR(periods, std::round(periods), 0.02) << hertz;
    // What the loop sounds like, played higher by its pitch.
    const double sounding = std::round(periods) * rate / (found.loop->end - found.loop->start);
    EXPECT_NEAR(1200 * std::log2(sounding / hertz) + 100 * found.loop->pitch, 0, 1) << hertz;
    EXPECT_GE(found.loop->start, 0.2 * 22050 - 1);
    EXPECT_LE(found.loop->end, 0.9 * 22050 + 1);
    EXPECT_GE(found.loop->end - found.loop->start, 0.05 * 22050 - 1);
  }
}

TEST(LoopFinder, worksOnStereoOfOppositePhaseAndChecksBothChannels) {
  const auto tone = tones::tone(tones::models[1], 220, 0.4);
  std::vector<float> stereo, uneven;
  const auto other = tones::tone(tones::models[6], 331, 0.4);
  for (std::size_t i = 0; i < tone.size(); ++i) {
    stereo.insert(stereo.end(), {tone[i], -tone[i]});
    uneven.insert(uneven.end(), {tone[i], other[i] / 2});
  }
  const auto found = findLoop(stereo, 2, rate, {}, goOn);
  ASSERT_TRUE(found.loop);
  ASSERT_EQ(found.candidates[0].channelScores.size(), 2u);
  EXPECT_GT(found.candidates[0].channelScores[1], 0.99);

  const auto checked = findLoop(uneven, 2, rate, {.part = {}, .checkChannels = true, .candidates = 8}, goOn);
  ASSERT_TRUE(checked.loop);
  const auto worst = [](const LoopCandidate& each) { return std::min(each.channelScores[0], each.channelScores[1]); };
  for (const auto& each : checked.candidates) EXPECT_LE(worst(each), worst(checked.candidates[checked.taken]));
}

TEST(LoopFinder, movesTheStartToTheEndsSample) {
  // A straight line through the start's samples meets the end's sample 0.37 frames later, or 0.21 earlier.
  for (const double offset : {0.37, -0.21, 0.5, -0.5}) {
    std::vector<float> x(40);
    for (std::size_t i = 0; i < 20; ++i) x[i] = static_cast<float>(0.02 * (static_cast<double>(i) - 9.5));
    x[30] = static_cast<float>(0.02 * (10 + offset - 9.5));
    EXPECT_NEAR(fractionalOffset(x, 10, 30), offset, 1e-9);
    EXPECT_EQ(fractionalOffset(x, 1, 30), 0);
    EXPECT_EQ(fractionalOffset(x, 10, 39), 0);
  }
}

TEST(LoopFinder, tunesToTheNearestWholeNumberOfPeriods) {
  EXPECT_EQ(loopTuning(400, 441, 44100), 0);     // four periods of 100 frames
  EXPECT_EQ(loopTuning(404, 441, 44100), 0.17);  // one per cent long: 17.2 cents higher
  EXPECT_EQ(loopTuning(396, 441, 44100), -0.17);
  EXPECT_EQ(loopTuning(40, 441, 44100), -12);  // less than one period: cut to the octave
  EXPECT_EQ(loopTuning(0, 441, 44100), 0);
}

TEST(HighPass, dampsWhatIsBelowAndMovesNothing) {
  const auto level = [](double hertz, double cutoff) {
    auto x = tones::tone(tones::models[0], hertz, 0.5);
    const auto before = x;
    highPassZeroPhase(x, 1, 0, cutoff, rate);
    double product = 0, energy = 0, after = 0;
    for (std::size_t i = 4000; i < 18000; ++i) {
      product += double{x[i]} * double{before[i]};
      energy += double{before[i]} * double{before[i]};
      after += double{x[i]} * double{x[i]};
    }
    // With any shift in time the product would be less than the two levels allow.
    EXPECT_NEAR(product / std::sqrt(energy * after), 1, 1e-3) << hertz;
    return 10 * std::log10(after / energy);
  };
  // A Butterworth filter of fourth order, twice: -20 · log10(1 + (cutoff / f)^8), the bilinear transform aside.
  EXPECT_NEAR(level(200, 200), -6.02, 0.05);
  EXPECT_NEAR(level(200 * std::numbers::sqrt2, 200), -0.53, 0.05);
  EXPECT_NEAR(level(200 / std::numbers::sqrt2, 200), -24.6, 0.3);
  EXPECT_NEAR(level(3000, 200), 0, 0.01);
}

TEST(LoopFinder, filtersTheWaveformBelowItsFundamental) {
  auto sound = tones::tone(tones::models[1], 440, 0.4);
  for (std::size_t i = 0; i < sound.size(); ++i) sound[i] += 0.05f;
  const auto found = findLoop(sound, 1, rate, {.part = {}, .highPass = true}, goOn);
  EXPECT_GT(found.cutoff, 0);
  double mean = 0;
  for (std::size_t i = 2000; i < 15000; ++i) mean += double{sound[i]} / 13000;
  EXPECT_NEAR(mean, 0, 1e-3);
  auto noise = tones::noise(600);
  const auto before = noise;
  EXPECT_EQ(findLoop(noise, 1, rate, {.part = {}, .highPass = true}, goOn).cutoff, 0) << "nothing to filter below";
  EXPECT_EQ(noise, before);
}

}  // namespace
}  // namespace tervo
