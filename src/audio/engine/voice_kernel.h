#pragma once
// The inner loop: 64 frames of eight lanes, from sample to the sums of the group. A lane is one channel of a voice.
// Every instruction set does the same operations in the same order, one rounding each (no fused multiply-add), so the
// output is the same everywhere.

#include "audio/engine/block.h"

namespace tervo::audio {

inline constexpr int lanes = 8;
inline constexpr int maxStages = 5;  ///< two of the filter, three of the equalizer

/// Where voices are added to.
enum Bus : std::size_t { leftBus, rightBus, chorusBus, reverbBus, busCount };

/// One filter stage of eight voices, moving in steps from frame to frame.
struct alignas(32) LaneStage {
  float a1[lanes], a2[lanes], a3[lanes], m0[lanes], m1[lanes], m2[lanes];
  float a1Step[lanes], a2Step[lanes], a3Step[lanes], m1Step[lanes];
  float s1[lanes], s2[lanes];
};

struct alignas(32) LaneBundle {
  const float* window[lanes];  ///< frames in a row; the first is the one before the position 0
  uint32_t phase[lanes];       ///< position in the window, in 1/2^20 frame
  uint32_t increment[lanes];
  float gain[busCount][lanes];
  float gainStep[busCount][lanes];
  LaneStage stage[maxStages];
  int stages;     ///< in use, the same for all lanes
  int busesUsed;  ///< 2: nothing is sent to the effects
};

/// Sums of a group, lane by lane; lanes are added up once a block.
struct alignas(32) LaneSums {
  float bus[busCount][blockFrames][lanes];
};

/// Renders 64 frames of the bundle and adds them. Filter states are left as they are at the end.
using RenderLanes = void (*)(LaneBundle& bundle, LaneSums& sums) noexcept;

void renderLanesScalar(LaneBundle& bundle, LaneSums& sums) noexcept;
void renderLanesSse2(LaneBundle& bundle, LaneSums& sums) noexcept;
void renderLanesAvx2(LaneBundle& bundle, LaneSums& sums) noexcept;

/// Those that this processor has, the slowest one first. Null behind the last one.
struct KernelList {
  RenderLanes kernels[4];
};
KernelList availableKernels() noexcept;
RenderLanes bestRenderLanes() noexcept;

}  // namespace tervo::audio
