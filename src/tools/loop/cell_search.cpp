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

constexpr double firstWidth = 2 * keyError, growth = 4;

// Cells stand along three directions; a cell's key has 21 bits for its place along each of them.
constexpr int bits = 21;
constexpr uint64_t stepX = uint64_t{1} << 2 * bits, stepY = uint64_t{1} << bits;
/// From the key of a cell to those of its neighbours that come after it.
constexpr uint64_t neighbours[] = {
    1,         stepY - 1, stepY,     stepY + 1,         stepX - stepY - 1, stepX - stepY,    stepX - stepY + 1,
    stepX - 1, stepX,     stepX + 1, stepX + stepY - 1, stepX + stepY,     stepX + stepY + 1};

uint64_t keyOf(std::span<const float> at, double width) {
  // Projections of spans of length 1 are -1 .. 1, give or take an error; no place is 0, so that each has one before it.
  const auto place = [width](float x) { return static_cast<uint64_t>((double{x} + 1.01) / width) + 1; };
  return place(at[0]) * stepX + place(at[1]) * stepY + place(at[2]);
}

double limitOf(double reach, double error) {
  return (reach + error) * (reach + error) * roundingFactor;
}

/// Those of ascending positions that lie within limits that ascend too.
struct Window {
  uint32_t first, last;

  template <typename Entries>
  void move(const Entries& entries, uint32_t end, std::size_t low, std::size_t high) {
    while (last < end && entries[last].position <= high) ++last;
    while (first < last && entries[first].position < low) ++first;
  }
};

}  // namespace

SearchEnd CellSearch::run(double seconds, const SearchProgress& progress) {
  if (!project(partOf(progress, 0, 0.1))) return SearchEnd::stopped;
  for (double width = firstWidth, before = 0;; width *= growth) {
    const double needed = std::sqrt(contest_.limit()) + keyError;
    if (needed <= before) return SearchEnd::done;
    const bool isLast = needed < 2 * width;
    if (isLast) width = needed;
    fillCells(width);
    const SearchEnd end = compareCells(seconds, isLast ? partOf(progress, 0.2, 1) : partOf(progress, 0.1, 0.2));
    if (end != SearchEnd::done) return end;
    before = width;
  }
}

bool CellSearch::project(const SearchProgress& progress) {
  constexpr std::size_t spansBetween = 1 << 14;  // two asks for progress
  const auto basis = spanBasis(places_.spans);
  const auto& kernels = dsp::spanKernels();
  projected_.resize(places_.spans.size());
  for (std::size_t i = 0; i < projected_.size(); ++i) {
    if (i % spansBetween == 0 && !progress(static_cast<double>(i) / static_cast<double>(projected_.size())))
      return false;
    const LoopSpan& span = places_.spans[i];
    kernels.project(span.frames, static_cast<float>(1 / span.length), basis.data(), projected_[i].at.data());
    projected_[i].position = span.positions.back();
    projected_[i].span = static_cast<uint32_t>(i);
  }
  return true;
}

void CellSearch::fillCells(double width) {
  std::vector<std::pair<uint64_t, uint32_t>> order(projected_.size());
  for (uint32_t i = 0; i < order.size(); ++i) order[i] = {keyOf(projected_[i].at, width), i};
  std::sort(order.begin(), order.end());
  sorted_.resize(projected_.size());
  cells_.clear();
  for (uint32_t i = 0; i < order.size(); ++i) {
    sorted_[i] = projected_[order[i].second];
    if (cells_.empty() || cells_.back().key != order[i].first) cells_.push_back({order[i].first, i, i, i});
    if (order[i].second < places_.single) cells_.back().several = i + 1;
    cells_.back().last = i + 1;
  }
}

SearchEnd CellSearch::compareCells(double seconds, const SearchProgress& progress) {
  updateLimits();
  std::size_t next[std::size(neighbours)] = {};
  pass_ = {&progress, seconds, secondsSpent(), secondsSpent(), SearchEnd::done};
  for (const Cell& cell : cells_) {
    compare(cell, cell);
    for (std::size_t k = 0; k < std::size(neighbours); ++k) {
      while (next[k] < cells_.size() && cells_[next[k]].key < cell.key + neighbours[k]) ++next[k];
      if (next[k] < cells_.size() && cells_[next[k]].key == cell.key + neighbours[k]) compare(cell, cells_[next[k]]);
    }
    if (pass_.end != SearchEnd::done) break;
  }
  return pass_.end;
}

bool CellSearch::goesOn(uint32_t entry) {
  constexpr double secondsBetween = 0.01;  // two asks for progress
  if (pass_.end != SearchEnd::done) return false;
  const double now = secondsSpent(), spent = now - pass_.begin;
  if (now < pass_.asked + secondsBetween) return true;
  pass_.asked = now;
  const double part = static_cast<double>(entry) / static_cast<double>(sorted_.size());
  if (!(*pass_.progress)(part)) pass_.end = SearchEnd::stopped;
  if (spent > pass_.seconds / 4 && spent > pass_.seconds * part) pass_.end = SearchEnd::tooSlow;
  return pass_.end == SearchEnd::done;
}

void CellSearch::compare(const Cell& a, const Cell& b) {
  compareSingle(a, b);
  const bool isOne = &a == &b;
  for (uint32_t i = a.several; i < a.last && goesOn(i); ++i)
    for (uint32_t j = b.first; j < (isOne ? i + 1 : b.last); ++j) compare(sorted_[i], sorted_[j]);
  for (uint32_t i = a.first; !isOne && i < a.several && b.several < b.last && goesOn(i); ++i)
    for (uint32_t j = b.several; j < b.last; ++j) compare(sorted_[i], sorted_[j]);
}

/// Spans of one place only with those that are as far away as loops may be long.
void CellSearch::compareSingle(const Cell& a, const Cell& b) {
  const LoopRange& range = contest_.range();
  const std::size_t shortest = range.shortest - 1, longest = range.longest;
  Window before{b.first, b.first}, after{b.first, b.first};
  for (uint32_t i = a.first; i < a.several && goesOn(i); ++i) {
    const std::size_t here = sorted_[i].position;
    if (here >= shortest) before.move(sorted_, b.several, here - std::min(here, longest), here - shortest);
    for (uint32_t j = before.first; j < before.last; ++j) compare(sorted_[i], sorted_[j]);
    if (&a == &b) continue;
    after.move(sorted_, b.several, here + shortest, here + longest);
    for (uint32_t j = after.first; j < after.last; ++j) compare(sorted_[i], sorted_[j]);
  }
}

void CellSearch::compare(const Entry& a, const Entry& b) {
  ++looked_;
  float square = 0;
  for (std::size_t k = 0; k < dsp::basisSize; ++k) square += (a.at[k] - b.at[k]) * (a.at[k] - b.at[k]);
  if (square > nearProjections_) return;
  const LoopSpan &one = places_.spans[a.span], &other = places_.spans[b.span];
  const bool isSingle = std::max(a.span, b.span) < places_.single;
  if (!isSingle && !contest_.areAllowed(one, other)) return;
  ++compared_;
  const auto scale = [](const LoopSpan& span) { return static_cast<float>(1 / span.length); };
  const float distance = dsp::spanKernels().distance(one.frames, scale(one), other.frames, scale(other), nearSpans_);
  if (distance > nearSpans_) return;
  contest_.offer(one, other);
  updateLimits();
}

void CellSearch::updateLimits() {
  const double reach = std::sqrt(contest_.limit());
  nearProjections_ = static_cast<float>(limitOf(reach, projectionError));
  nearSpans_ = static_cast<float>(limitOf(reach, distanceError));
}

double CellSearch::secondsSpent() const {
  constexpr double secondsToLook = 3e-9, secondsToCompare = 100e-9;
  return looked_ * secondsToLook + compared_ * secondsToCompare;
}

}  // namespace tervo
