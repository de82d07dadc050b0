#include "audio/engine/voice_kernel.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <memory>
#include <random>
#include <vector>

namespace tervo::test {
namespace {

using namespace audio;

/// A bundle with something different in every field, reading from `frames`.
LaneBundle randomBundle(std::mt19937& random, const std::vector<float>& frames, int stages) {
  std::uniform_real_distribution<float> small(-0.3f, 0.3f);
  LaneBundle bundle{};
  for (std::size_t i = 0; i < lanes; ++i) {
    bundle.window[i] = frames.data() + random() % 100;
    bundle.phase[i] = static_cast<uint32_t>(random()) % (1u << fixedBits);
    bundle.increment[i] = static_cast<uint32_t>(random()) % (3u << fixedBits);
    for (std::size_t bus = 0; bus < busCount; ++bus)
      bundle.gain[bus][i] = small(random), bundle.gainStep[bus][i] = small(random) / 64;
    for (LaneStage& stage : bundle.stage) {
      stage.a1[i] = 0.5f + small(random), stage.a2[i] = small(random), stage.a3[i] = small(random);
      stage.m0[i] = small(random), stage.m1[i] = small(random), stage.m2[i] = small(random);
      stage.a1Step[i] = stage.a2Step[i] = stage.a3Step[i] = stage.m1Step[i] = small(random) / 256;
      stage.s1[i] = small(random), stage.s2[i] = small(random);
    }
  }
  bundle.stages = stages;
  bundle.busesUsed = stages % 2 == 0 ? static_cast<int>(busCount) : static_cast<int>(chorusBus);
  return bundle;
}

TEST(VoiceKernel, EveryInstructionSetGivesTheSameBits) {
  std::mt19937 random(7);
  std::vector<float> frames(1000);
  for (float& frame : frames) frame = std::sin(static_cast<float>(random() % 1000));
  for (int stages = 0; stages <= maxStages; ++stages) {
    const LaneBundle bundle = randomBundle(random, frames, stages);
    const auto reference = std::make_unique<LaneSums>();
    LaneBundle after = bundle;
    renderLanesScalar(after, *reference);
    for (const RenderLanes kernel : availableKernels().kernels) {
      if (!kernel) break;
      const auto sums = std::make_unique<LaneSums>();
      LaneBundle copy = bundle;
      kernel(copy, *sums);
      EXPECT_EQ(std::memcmp(sums.get(), reference.get(), sizeof(LaneSums)), 0) << stages;
      EXPECT_EQ(std::memcmp(copy.stage, after.stage, sizeof(copy.stage)), 0) << stages;
    }
  }
}

}  // namespace
}  // namespace tervo::test
