#include "tools/loop/loop_crossfade.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace tervo {
namespace {

/// Frame i holds i / 10000 on the left and half of it on the right.
std::vector<float> ramp(std::size_t frames) {
  std::vector<float> x(2 * frames);
  for (std::size_t i = 0; i < frames; ++i) {
    x[2 * i] = static_cast<float>(i) / 10000;
    x[2 * i + 1] = static_cast<float>(i) / 20000;
  }
  return x;
}

TEST(LoopCrossfade, changesJustTheFramesThatItIsMeantTo) {
  const struct {
    std::size_t frames;
    LoopCrossfade fade;
    std::size_t length, behind;  ///< frames before and behind the loop's end that change; 0 for "not applied"
  } cases[] = {
      {3000, {1000, 1500, 0, false}, 500, 0},  {3000, {1000, 1500, 0, true}, 500, 500},
      {6000, {300, 5000, 0, true}, 300, 300},  {1500, {1000, 1500, 0, true}, 500, 0},
      {3000, {1000, 1500, 10, false}, 10, 0},  {3000, {1000, 1500, 10, true}, 10, 10},
      {1507, {1000, 1500, 0, true}, 500, 7},   {3000, {1000, 1500, 999, false}, 500, 0},
      {3000, {0, 1500, 0, true}, 0, 0},        {3000, {1500, 1500, 0, true}, 0, 0},
      {3000, {1500, 1000, 0, true}, 0, 0},     {1499, {1000, 1500, 0, true}, 0, 0},
      {3000, {1, 4294967295u, 0, true}, 0, 0},
  };
  for (const auto& each : cases) {
    auto x = ramp(each.frames);
    const auto before = x;
    ASSERT_EQ(crossfadeLoop(x, 2, each.fade).frames, each.length);
    const std::size_t end = each.fade.loopEnd;
    for (std::size_t i = 0; i < each.frames; ++i) {
      // The last frame behind the loop is all its own again: weight 0.
      const bool isInside =
          each.length > 0 && i + each.length >= end && i < end + (each.behind > 0 ? each.behind - 1 : 0);
      ASSERT_EQ(x[2 * i] != before[2 * i], isInside) << each.fade.loopStart << ".." << end << " at " << i;
      ASSERT_EQ(x[2 * i + 1] != before[2 * i + 1], isInside);
    }
  }
}

TEST(LoopCrossfade, weighsLinearlyOrByTheLogarithm) {
  // Loop 4..8 of 16 frames with all four frames faded: k = 3, 2, 1, 0 over 4.
  const std::vector<float> x = {0, 0, 0, 0.5, -0.75, 0.25, 0, 0, 1, 1, 1, 1, 0.125, 0.125, 0.125, 0.125};
  auto linear = x;
  ASSERT_EQ(crossfadeLoop(linear, 1, {4, 8, 0, true, false}).clipped, 0u);
  const std::vector<float> byHand = {0, 0, 0, 0.5, -0.5625, 0.125, 0, 0.5,
                                     // start 0.75 · -0.75 + 0.25, 0.5 · 0.25 + 0.5, 0.25 · 0 + 0.75, 1
                                     -0.3125, 0.625, 0.75, 1, 0.125, 0.125, 0.125, 0.125};
  EXPECT_EQ(linear, byHand);
  auto curved = x;
  ASSERT_EQ(crossfadeLoop(curved, 1, {4, 8, 0, true, true}).frames, 4u);
  // log10(1 + 9 · 3/4) = 0.889302, log10(5.5) = 0.740363
  EXPECT_NEAR(curved[4], -0.75 * 0.889302, 1e-6);
  EXPECT_NEAR(curved[5], 0.25 * 0.740363, 1e-6);
  EXPECT_EQ(curved[7], 0.5f);
  EXPECT_NEAR(curved[8], -0.75 * 0.889302 + 1 - 0.889302, 1e-6);
}

TEST(LoopCrossfade, neverLeavesFullScale) {
  std::vector<float> x(300);
  for (std::size_t i = 0; i < x.size(); ++i) x[i] = i % 3 == 0 ? 1.0f : i % 3 == 1 ? -1.0f : 1.5f;
  EXPECT_GT(crossfadeLoop(x, 1, {100, 200, 0, true, true}).clipped, 0u);
  for (std::size_t i = 100; i < 300; ++i) EXPECT_LE(std::abs(x[i]), 1) << i;
}

}  // namespace
}  // namespace tervo
