#pragma once
// The voice kernel written once for vectors of eight lanes. Each instruction set gives it a Vector with the operations
// named below, in a source of its own; everything here is a template over that type, so that no other source can be
// given code of a set that the processor may lack.
//
// Three passes over the block: positions, taps and interpolation, filters and sums. Between them the block stands in
// arrays, so no pass has more in registers than there are.

#include "audio/engine/voice_kernel.h"

namespace tervo::audio {

template <typename Vector>
class VectorKernel {
 public:
  static void render(LaneBundle& bundle, LaneSums& sums) noexcept {
    alignas(32) uint32_t index[blockFrames][lanes];
    alignas(32) float fraction[blockFrames][lanes];
    alignas(32) float samples[blockFrames][lanes];
    Vector::positions(bundle.phase, bundle.increment, index, fraction);
    interpolate(bundle, index, fraction, samples);
    for (int s = 0; s < bundle.stages; ++s) filter(bundle.stage[s], samples);
    addPair(bundle, samples, sums, leftBus);
    if (bundle.busesUsed > static_cast<int>(chorusBus)) addPair(bundle, samples, sums, chorusBus);
  }

 private:
  static void interpolate(const LaneBundle& bundle, const uint32_t (&index)[blockFrames][lanes],
                          const float (&fraction)[blockFrames][lanes], float (&samples)[blockFrames][lanes]) noexcept {
    const Vector half = Vector::of(0.5f), two = Vector::of(2), three = Vector::of(3), twoAndHalf = Vector::of(2.5f);
    for (int n = 0; n < blockFrames; ++n) {
      Vector p0, p1, p2, p3;
      Vector::taps(bundle.window, index[n], p0, p1, p2, p3);
      const Vector t = Vector::load(fraction[n]);
      const Vector c1 = half * (p2 - p0);
      const Vector c2 = (p0 - twoAndHalf * p1) + (two * p2 - half * p3);
      const Vector c3 = half * (three * (p1 - p2) + (p3 - p0));
      (p1 + t * (c1 + t * (c2 + t * c3))).store(samples[n]);
    }
  }

  static void filter(LaneStage& stage, float (&samples)[blockFrames][lanes]) noexcept {
    Vector a1 = Vector::load(stage.a1), a2 = Vector::load(stage.a2), a3 = Vector::load(stage.a3);
    Vector m1 = Vector::load(stage.m1), s1 = Vector::load(stage.s1), s2 = Vector::load(stage.s2);
    const Vector m0 = Vector::load(stage.m0), m2 = Vector::load(stage.m2);
    const Vector a1Step = Vector::load(stage.a1Step), a2Step = Vector::load(stage.a2Step);
    const Vector a3Step = Vector::load(stage.a3Step), m1Step = Vector::load(stage.m1Step);
    for (float(&sample)[lanes] : samples) {
      const Vector v0 = Vector::load(sample);
      const Vector v3 = v0 - s2;
      const Vector t1 = a1 * s1 + a2 * v3;
      const Vector t2 = s2 + (a2 * s1 + a3 * v3);
      ((m0 * v0 + m1 * (s1 + t1)) + m2 * (s2 + t2)).store(sample);
      s1 = t1;
      s2 = t2;
      a1 = a1 + a1Step;
      a2 = a2 + a2Step;
      a3 = a3 + a3Step;
      m1 = m1 + m1Step;
    }
    s1.store(stage.s1);
    s2.store(stage.s2);
  }

  /// Adds to two buses at once.
  static void addPair(const LaneBundle& bundle, const float (&samples)[blockFrames][lanes], LaneSums& sums,
                      std::size_t first) noexcept {
    Vector gainA = Vector::load(bundle.gain[first]), gainB = Vector::load(bundle.gain[first + 1]);
    const Vector stepA = Vector::load(bundle.gainStep[first]), stepB = Vector::load(bundle.gainStep[first + 1]);
    for (int n = 0; n < blockFrames; ++n) {
      const Vector sample = Vector::load(samples[n]);
      float* a = sums.bus[first][n];
      float* b = sums.bus[first + 1][n];
      (Vector::load(a) + sample * gainA).store(a);
      (Vector::load(b) + sample * gainB).store(b);
      gainA = gainA + stepA;
      gainB = gainB + stepB;
    }
  }
};

}  // namespace tervo::audio
