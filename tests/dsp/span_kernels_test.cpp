#include "dsp/span_kernels.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "tests/dsp/tones.h"

namespace tervo::dsp {
namespace {

double product(const float* a, const float* b) {
  double sum = 0;
  for (std::size_t i = 0; i < spanSize; ++i) sum += double{a[i]} * double{b[i]};
  return sum;
}

TEST(SpanKernels, findProductsByLagForEveryInstructionSet) {
  const std::vector<float> x = tones::noise(1300);
  std::vector<float> lengths(x.size(), std::numeric_limits<float>::infinity());
  const auto span = [&](std::size_t position) { return x.data() + position - spanSize / 2; };
  const auto lengthAt = [&](std::size_t i) { return static_cast<float>(std::sqrt(product(span(i), span(i)))); };
  for (std::size_t i = 300; i < 1100; i += 3) lengths[i] = lengthAt(i);
  const float score = 0.08f;
  const uint32_t positions[] = {131, 132, 170, 400, 401, 642};
  std::vector<LagStart> starts;
  for (const uint32_t each : positions) starts.push_back({each, lengthAt(each), lengths.data()});
  for (const auto set : {InstructionSet::scalar, InstructionSet::sse2, InstructionSet::avx2}) {
    if (!isAvailable(set)) continue;
    const SpanKernels& kernels = spanKernels(set);
    uint64_t hits[std::size(positions)];
    kernels.productsByLag({x.data(), 301, starts.data(), starts.size(), score, 0}, hits);
    for (std::size_t s = 0; s < std::size(positions); ++s) {
      for (std::size_t b = 0; b < kernels.lagsTogether; ++b) {
        const std::size_t end = positions[s] + 301 + b;
        const double found = product(span(positions[s]), span(end)) / starts[s].length / lengths[end];
        if (std::abs(found - double{score}) < 1e-5) continue;
        EXPECT_EQ(hits[s] >> b & 1, found > double{score}) << s << ' ' << b;
      }
    }
  }
}

TEST(SpanKernels, probeAllLagsForEveryInstructionSet) {
  const std::vector<float> x = tones::noise(300);
  std::vector<float> lengths(x.size());
  for (std::size_t i = 0; i < lengths.size(); ++i) lengths[i] = static_cast<float>(1 + i % 5);
  for (const auto set : {InstructionSet::scalar, InstructionSet::sse2, InstructionSet::avx2}) {
    if (!isAvailable(set)) continue;
    const auto expectHits = [&](auto kernel, std::size_t size) {
      const uint64_t hits = kernel(x.data() + 3, x.data() + 101, lengths.data() + 101, 0.1f);
      for (std::size_t b = 0; b < spanKernels(set).lagsTogether; ++b) {
        double sum = 0;
        for (std::size_t i = 0; i < size; ++i) sum += double{x[3 + i]} * double{x[101 + b + i]};
        EXPECT_EQ(hits >> b & 1, sum >= 0.1 * double{lengths[101 + b]}) << b;
      }
    };
    expectHits(spanKernels(set).probe, probeSize);
    expectHits(spanKernels(set).glance, glanceSize);
  }
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
    float projection[basisSize];
    kernels.project(span(0), 2, span(0), projection);
    for (std::size_t k = 0; k < basisSize; ++k) EXPECT_NEAR(projection[k], 2 * product(span(0), span(k)), 2e-6);
    // |2a - 3b|² = 4 + 9 - 12 ab
    EXPECT_NEAR(kernels.distance(span(1), 2, span(2), 3, 1e9f), 13 - 12 * product(span(1), span(2)), 1e-5);
    EXPECT_GT(kernels.distance(span(1), 2, span(2), 3, 0.5f), 0.5f);
    EXPECT_EQ(kernels.distance(span(1), 2, span(1), 2, 0.5f), 0);
    EXPECT_NEAR(kernels.exactDistance(span(1), 2, span(2), 3, 1e9),
                4 * product(span(1), span(1)) + 9 * product(span(2), span(2)) - 12 * product(span(1), span(2)), 1e-13);
    double products[spanSize];
    kernels.products(span(1), span(2), spanSize, products);
    float squares[spanSize / partSize];
    kernels.squares(span(1), span(2), 3, std::size(squares), squares);
    for (std::size_t i = 0; i < std::size(squares); ++i) {
      double sum = 0;
      for (std::size_t k = i * partSize; k < (i + 1) * partSize; ++k) {
        sum += std::pow(double{span(1)[k]} - 3 * double{span(2)[k]}, 2);
        EXPECT_EQ(products[k], double{span(1)[k]} * double{span(2)[k]});
      }
      EXPECT_NEAR(squares[i], sum, 1e-6);
    }
  }
}

}  // namespace
}  // namespace tervo::dsp
