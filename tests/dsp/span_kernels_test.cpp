#include "dsp/span_kernels.h"

#include <gtest/gtest.h>

#include <cmath>

#include "tests/dsp/tones.h"

namespace tervo::dsp {
namespace {

double product(const float* a, const float* b) {
  double sum = 0;
  for (std::size_t i = 0; i < spanSize; ++i) sum += double{a[i]} * double{b[i]};
  return sum;
}

TEST(SpanKernels, areAsExactAsPromisedForEveryInstructionSet) {
  // Spans of length 1, one frame off any alignment.
  std::vector<float> x = tones::noise(1 + 8 * spanSize);
  const auto span = [&](std::size_t i) { return x.data() + 1 + i * spanSize; };
  for (std::size_t i = 0; i < 8; ++i) {
    const double length = std::sqrt(product(span(i), span(i)));
    for (std::size_t k = 0; k < spanSize; ++k) span(i)[k] = static_cast<float>(span(i)[k] / length);
  }
  for (const auto set : {InstructionSet::scalar, InstructionSet::sse2, InstructionSet::avx2}) {
    if (!isAvailable(set)) continue;
    const SpanKernels& kernels = spanKernels(set);
    float products[tileRows * tileColumns], projection[basisSize];
    kernels.products(span(0), span(4), products);
    for (std::size_t i = 0; i < std::size(products); ++i)
      EXPECT_NEAR(products[i], product(span(i % tileRows), span(4 + i / tileRows)), 1e-6);
    kernels.project(span(0), 2, span(0), projection);
    for (std::size_t k = 0; k < basisSize; ++k) EXPECT_NEAR(projection[k], 2 * product(span(0), span(k)), 2e-6);
    // |2a - 3b|² = 4 + 9 - 12 ab
    EXPECT_NEAR(kernels.distance(span(1), 2, span(2), 3, 1e9f), 13 - 12 * product(span(1), span(2)), 1e-5);
    EXPECT_GT(kernels.distance(span(1), 2, span(2), 3, 0.5f), 0.5f);
    EXPECT_EQ(kernels.distance(span(1), 2, span(1), 2, 0.5f), 0);
  }
}

}  // namespace
}  // namespace tervo::dsp
