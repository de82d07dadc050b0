#include <algorithm>
#include <cmath>

#include "tools/loop/search_methods.h"
#include "tools/loop/span_basis.h"

namespace tervo {
namespace {

// Bounds of what single precision gets wrong (see span_kernels.h).
constexpr double keyError = 1e-5;           // of the difference of two projections on one direction
constexpr double projectionError = 2.5e-5;  // of the distance of two projections on all of them
constexpr double distanceError = 1e-6;
constexpr double roundingFactor = 1.0001;

double limitOf(double reach, double error) {
  return (reach + error) * (reach + error) * roundingFactor;
}

}  // namespace

bool SortedSearch::prepare(std::span<const LoopPlace> places, const SearchProgress& progress) {
  constexpr std::size_t placesBetween = 1 << 14;  // two asks for progress
  const auto asked = [&](std::size_t i, double from) {
    return i % placesBetween != 0 || progress(from + 0.5 * static_cast<double>(i) / static_cast<double>(places.size()));
  };
  const auto basis = spanBasis(contest_.x(), places);
  const auto& kernels = dsp::spanKernels();
  sorted_.resize(places.size());
  for (std::size_t i = 0; i < places.size(); ++i) {
    if (!asked(i, 0)) return false;
    sorted_[i].place = places[i];
    kernels.project(spanAt(places[i]), places[i].scale, basis.data(), sorted_[i].at);
  }
  std::sort(sorted_.begin(), sorted_.end(), [](const Projected& a, const Projected& b) { return a.at[0] < b.at[0]; });
  for (std::size_t i = 0; i < sorted_.size(); ++i) {
    if (!asked(i, 0.5)) return false;
    compareNeighbours(i);
  }
  return true;
}

const float* SortedSearch::spanAt(const LoopPlace& place) const {
  return contest_.x().data() + (place.position - spanBefore);
}

double SortedSearch::squareOf(const Projected& a, const Projected& b) {
  float sum = 0;
  for (std::size_t k = 0; k < dsp::basisSize; ++k) sum += (a.at[k] - b.at[k]) * (a.at[k] - b.at[k]);
  return sum;
}

void SortedSearch::compare(const Projected& a, const Projected& b) {
  const bool inOrder = a.place.position < b.place.position;
  const LoopPlace &start = inOrder ? a.place : b.place, &end = inOrder ? b.place : a.place;
  if (!contest_.allows(start.position, end.position)) return;
  const auto limit = static_cast<float>(limitOf(contest_.reach(), distanceError));
  if (dsp::spanKernels().distance(spanAt(start), start.scale, spanAt(end), end.scale, limit) <= limit)
    contest_.offer(start, end);
}

void SortedSearch::compareNeighbours(std::size_t of) {
  constexpr std::size_t neighbours = 12;
  const std::size_t last = std::min(sorted_.size(), of + 1 + neighbours);
  for (std::size_t i = of + 1; i < last; ++i)
    if (squareOf(sorted_[of], sorted_[i]) <= limitOf(contest_.reach(), projectionError))
      compare(sorted_[of], sorted_[i]);
}

double SortedSearch::cost() const {
  constexpr double secondsToLook = 2e-9, secondsToCompare = 60e-9;
  const double key = contest_.reach() + keyError, limit = limitOf(contest_.reach(), projectionError);
  // All pairs are counted, some of them looked at.
  double pairs = 0, seen = 0, near = 0;
  for (std::size_t i = 0, end = 0; i < sorted_.size(); ++i) {
    while (end < sorted_.size() && double{sorted_[end].at[0]} - double{sorted_[i].at[0]} <= key) ++end;
    pairs += static_cast<double>(end - i - 1);
    if (i % 64 != 0) continue;
    const std::size_t step = std::max<std::size_t>((end - i) / 64, 1);
    for (std::size_t j = i + 1; j < end; j += step, ++seen) near += squareOf(sorted_[i], sorted_[j]) <= limit;
  }
  return pairs * (secondsToLook + secondsToCompare * near / std::max(seen, 1.0));
}

bool SortedSearch::run(const SearchProgress& progress) {
  constexpr std::size_t pairsBetween = 1 << 20;  // two asks for progress
  std::size_t looked = 0;
  for (std::size_t i = 0; i < sorted_.size(); ++i) {
    const Projected& here = sorted_[i];
    double reach = contest_.reach();
    auto key = static_cast<float>(reach + keyError);
    double limit = limitOf(reach, projectionError);
    std::size_t j = i + 1;
    for (; j < sorted_.size() && sorted_[j].at[0] - here.at[0] <= key; ++j) {
      if (std::abs(sorted_[j].at[1] - here.at[1]) > key || squareOf(sorted_[j], here) > limit) continue;
      compare(here, sorted_[j]);
      if (contest_.reach() == reach) continue;
      reach = contest_.reach();
      key = static_cast<float>(reach + keyError);
      limit = limitOf(reach, projectionError);
    }
    looked += j - i;
    if (looked < pairsBetween) continue;
    looked = 0;
    if (!progress(static_cast<double>(i) / static_cast<double>(sorted_.size()))) return false;
  }
  return true;
}

}  // namespace tervo
