#include "dsp/span_kernels.h"

#include "dsp/span_kernels_vector.h"

namespace tervo::dsp {
namespace {

/// Four lanes by hand: the reference, and what other processors run.
struct Scalar {
  static constexpr std::size_t lanes = 4;
  struct Float {
    float lane[lanes];
  };

  template <typename Each>
  static Float make(Each each) {
    return {{each(0), each(1), each(2), each(3)}};
  }
  static Float zero() { return {}; }
  static Float all(float x) { return {{x, x, x, x}}; }
  static Float load(const float* in) { return {{in[0], in[1], in[2], in[3]}}; }
  static Float subtract(Float a, Float b) {
    return make([&](int i) { return a.lane[i] - b.lane[i]; });
  }
  static Float multiply(Float a, Float b) {
    return make([&](int i) { return a.lane[i] * b.lane[i]; });
  }
  static Float multiplyAdd(Float a, Float b, Float sum) {
    return make([&](int i) { return a.lane[i] * b.lane[i] + sum.lane[i]; });
  }
  static float sum(Float a) { return (a.lane[0] + a.lane[2]) + (a.lane[1] + a.lane[3]); }
  static uint32_t notLess(Float a, Float b) {
    uint32_t bits = 0;
    for (std::size_t i = 0; i < lanes; ++i) bits |= uint32_t{a.lane[i] >= b.lane[i]} << i;
    return bits;
  }
};

}  // namespace

const SpanKernels scalarSpanKernels = SpanKernelsOf<Scalar>::table;

const SpanKernels& spanKernels(InstructionSet set) noexcept {
#if defined(__x86_64__)
  if (set == InstructionSet::avx2) return avx2SpanKernels;
  if (set == InstructionSet::sse2) return sse2SpanKernels;
#endif
  static_cast<void>(set);
  return scalarSpanKernels;
}

const SpanKernels& spanKernels() noexcept {
  constexpr InstructionSet best[] = {InstructionSet::avx2, InstructionSet::sse2, InstructionSet::scalar};
  static const SpanKernels& kernels = [&]() -> const SpanKernels& {
    for (const InstructionSet set : best)
      if (isAvailable(set)) return spanKernels(set);
    return scalarSpanKernels;
  }();
  return kernels;
}

}  // namespace tervo::dsp
