#include "audio/engine/voice_kernel.h"

namespace tervo::audio {
namespace {

/// Four-point, third-order interpolation (Catmull-Rom) at fraction t behind p[1].
float cubic(const float* p, float t) noexcept {
  const float c1 = 0.5f * (p[2] - p[0]);
  const float c2 = (p[0] - 2.5f * p[1]) + (2 * p[2] - 0.5f * p[3]);
  const float c3 = 0.5f * (3 * (p[1] - p[2]) + (p[3] - p[0]));
  return p[1] + t * (c1 + t * (c2 + t * c3));
}

void oscillate(const LaneBundle& bundle, std::size_t lane, float (&out)[blockFrames]) noexcept {
  constexpr uint32_t fractionMask = static_cast<uint32_t>(fixedOne) - 1;
  uint32_t phase = bundle.phase[lane];
  for (float& sample : out) {
    const float t =
        static_cast<float>(static_cast<int32_t>(phase & fractionMask)) * (1.0f / static_cast<float>(fixedOne));
    sample = cubic(bundle.window[lane] + (phase >> fixedBits), t);
    phase += bundle.increment[lane];
  }
}

void filter(LaneStage& stage, std::size_t i, float (&samples)[blockFrames]) noexcept {
  float a1 = stage.a1[i], a2 = stage.a2[i], a3 = stage.a3[i], m1 = stage.m1[i];
  float s1 = stage.s1[i], s2 = stage.s2[i];
  for (float& sample : samples) {
    const float v0 = sample;
    const float v3 = v0 - s2;
    const float t1 = a1 * s1 + a2 * v3;
    const float t2 = s2 + (a2 * s1 + a3 * v3);
    sample = (stage.m0[i] * v0 + m1 * (s1 + t1)) + stage.m2[i] * (s2 + t2);
    s1 = t1;
    s2 = t2;
    a1 += stage.a1Step[i];
    a2 += stage.a2Step[i];
    a3 += stage.a3Step[i];
    m1 += stage.m1Step[i];
  }
  stage.s1[i] = s1;
  stage.s2[i] = s2;
}

}  // namespace

void renderLanesScalar(LaneBundle& bundle, LaneSums& sums) noexcept {
  for (std::size_t lane = 0; lane < lanes; ++lane) {
    float samples[blockFrames];
    oscillate(bundle, lane, samples);
    for (int s = 0; s < bundle.stages; ++s) filter(bundle.stage[s], lane, samples);
    for (std::size_t bus = 0; bus < static_cast<std::size_t>(bundle.busesUsed); ++bus) {
      float gain = bundle.gain[bus][lane];
      for (std::size_t n = 0; n < blockFrames; ++n) {
        sums.bus[bus][n][lane] += samples[n] * gain;
        gain += bundle.gainStep[bus][lane];
      }
    }
  }
}

#if defined(__x86_64__)
KernelList availableKernels() noexcept {
  if (__builtin_cpu_supports("avx2")) return {{renderLanesScalar, renderLanesSse2, renderLanesAvx2, nullptr}};
  return {{renderLanesScalar, renderLanesSse2, nullptr, nullptr}};
}
#else
KernelList availableKernels() noexcept {
  return {{renderLanesScalar, nullptr, nullptr, nullptr}};
}
#endif

RenderLanes bestRenderLanes() noexcept {
  RenderLanes best = nullptr;
  for (const RenderLanes kernel : availableKernels().kernels) best = kernel ? kernel : best;
  return best;
}

}  // namespace tervo::audio
