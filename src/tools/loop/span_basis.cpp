#include "tools/loop/span_basis.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace tervo {
namespace {

using Span = std::array<double, spanFrames>;

double product(const Span& a, const Span& b) {
  double sums[4] = {};
  for (std::size_t i = 0; i < spanFrames; i += 4)
    for (std::size_t lane = 0; lane < 4; ++lane) sums[lane] += a[i + lane] * b[i + lane];
  return (sums[0] + sums[1]) + (sums[2] + sums[3]);
}

void add(Span& to, const Span& from, double factor) {
  for (std::size_t i = 0; i < spanFrames; ++i) to[i] += factor * from[i];
}

/// Some of the spans, as differences from their mean.
std::vector<Span> someOf(std::span<const LoopSpan> spans) {
  constexpr std::size_t most = 300;
  std::vector<Span> some;
  Span mean{};
  const std::size_t count = std::min(spans.size(), most);
  for (std::size_t k = 0; k < count; ++k) {
    const LoopSpan& from = spans[k * spans.size() / count];
    Span& span = some.emplace_back();
    for (std::size_t i = 0; i < spanFrames; ++i) span[i] = double{from.frames[i]} / from.length;
    add(mean, span, 1 / static_cast<double>(count));
  }
  for (Span& span : some) add(span, mean, -1);
  return some;
}

void orthonormalise(std::vector<Span>& basis) {
  constexpr double nothingLeft = 1e-6;  // of what a direction had, when the others have been taken out of it
  for (std::size_t k = 0; k < basis.size(); ++k) {
    const double before = std::sqrt(product(basis[k], basis[k]));
    for (int pass = 0; pass < 2; ++pass)
      for (std::size_t j = 0; j < k; ++j) add(basis[k], basis[j], -product(basis[k], basis[j]));
    const double length = std::sqrt(product(basis[k], basis[k]));
    const double factor = length > nothingLeft * before && length > 0 ? 1 / length : 0;
    for (double& value : basis[k]) value *= factor;
  }
}

}  // namespace

std::vector<float> spanBasis(std::span<const LoopSpan> spans) {
  const auto some = someOf(spans);
  std::vector<Span> basis(dsp::basisSize);
  for (std::size_t k = 0; k < basis.size(); ++k)
    if (!some.empty()) basis[k] = some[k * some.size() / basis.size()];
  constexpr int rounds = 6;
  for (int round = 0; round < rounds; ++round) {
    orthonormalise(basis);
    std::vector<Span> next(basis.size());
    for (const Span& span : some)
      for (std::size_t k = 0; k < basis.size(); ++k) add(next[k], span, product(span, basis[k]));
    basis.swap(next);
  }
  orthonormalise(basis);
  std::vector<float> result;
  for (const Span& span : basis)
    for (const double value : span) result.push_back(static_cast<float>(value));
  return result;
}

}  // namespace tervo
