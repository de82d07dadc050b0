#include "tools/loop/loop_contest.h"

#include <algorithm>
#include <cmath>

namespace tervo {
namespace {

/// In double precision. Four sums side by side, for the compiler to make vectors of.
double roughSum(const float* a, const float* b, std::size_t frames) {
  double sums[4] = {};
  std::size_t i = 0;
  for (; i + 4 <= frames; i += 4)
    for (std::size_t lane = 0; lane < 4; ++lane) sums[lane] += double{a[i + lane]} * double{b[i + lane]};
  for (; i < frames; ++i) sums[0] += double{a[i]} * double{b[i]};
  return (sums[0] + sums[1]) + (sums[2] + sums[3]);
}

/// The score, wrong by less than 1e-12.
double roughScore(std::span<const float> x, std::size_t start, std::size_t end) {
  const std::size_t offset = spanOffset(x.size(), start, end);
  const std::size_t framesA = framesOfSpan(x.size(), start - offset), framesB = framesOfSpan(x.size(), end - offset);
  const float *a = x.data() + (start - offset), *b = x.data() + (end - offset);
  const double energy = roughSum(a, a, framesA) * roughSum(b, b, framesB);
  return energy > 0 ? roughSum(a, b, framesB) / std::sqrt(energy) : 0;
}

}  // namespace

double LoopContest::reach() const {
  return std::sqrt(std::max(2 - 2 * bar(), 0.0));
}

void LoopContest::offer(std::size_t start, std::size_t end) {
  constexpr double error = 1e-12;
  if (roughScore(x_, start, end) < bar() - error) return;
  if (!isNew(start, end)) return;
  const LoopPair pair{start, end, spanScore(x_, start, end)};
  if (beatsBest(pair)) best_ = pair;
}

void LoopContest::offer(const LoopPlace& start, const LoopPlace& end) {
  if (start.twins == 0 || end.twins == 0) return offer(start.position, end.position);
  const LoopPair pair{start.position, end.position, scoreOfTwins(start, end)};
  if (beatsBest(pair) && isNew(pair.start, pair.end)) best_ = pair;
}

Score LoopContest::scoreOfTwins(const LoopPlace& start, const LoopPlace& end) {
  const uint64_t twins = uint64_t{start.twins} << 32 | end.twins;
  if (latest_.twins == twins) return latest_.score;
  const auto [known, isNew] = known_.try_emplace(twins);
  if (isNew) known->second = spanScore(x_, start.position, end.position);
  latest_ = {twins, known->second};
  return latest_.score;
}

bool LoopContest::isNew(std::size_t start, std::size_t end) const {
  const auto near = [](std::size_t a, std::size_t b) { return (a > b ? a - b : b - a) <= spanFrames; };
  return std::none_of(others_.begin(), others_.end(),
                      [&](const LoopPair& other) { return near(other.start, start) && near(other.end, end); });
}

bool LoopContest::beatsBest(const LoopPair& pair) const {
  if (!best_) return pair.score > 0;
  if (pair.score != best_->score) return pair.score > best_->score;
  return pair.end != best_->end ? pair.end > best_->end : pair.start > best_->start;
}

}  // namespace tervo
