#include "tools/loop/loop_contest.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "dsp/span_kernels.h"

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

double LoopContest::limit() const {
  if (!best_) return 2;
  // Products of samples are exact. Each of three sums of 256 is wrong by at most 255 roundings, those under the root
  // count by half; then there are a product, a root and a quotient. A rounding is half an epsilon, a score half of what
  // it does to the square of the distance.
  constexpr Score error = 2 * 260 * std::numeric_limits<Score>::epsilon();
  return static_cast<double>(std::max<Score>(2 - 2 * best_->score, 0) + error);
}

// Products have 48 digits at most and sums 64. So where spans are nearly equal, adding a product of at least 2^-16 of
// the whole sum is exact, unless it takes the sum to the next power of two: all digits there may be are those of the
// sum. With n soft samples, and u the last digit of the whole sum, the errors of the product are at most u / 2 for each
// of them, u / 2 for each that is negative and takes the sum back below a power of two, and u for all powers of two
// together: (n + 1) u. Those of the energies, which know no negative ones and count by half, are (n / 2 + 1) u.
// Product, root and quotient add 2.5 / 2 u. On a score that is (1.5 n + 3.25) epsilon, and twice that on the square.
double LoopContest::limit(std::size_t soft) const {
  // Up to nearlyEqual samples differ by 2^-18 of the length at most, and what is not soft in one span is not in the
  // other.
  const double whole = limit();
  if (std::numeric_limits<Score>::digits != 64 || whole > nearlyEqual) return whole;
  const Score error = static_cast<Score>(3 * soft + 7) * std::numeric_limits<Score>::epsilon();
  return std::min(static_cast<double>(std::max<Score>(2 - 2 * best_->score + error, 0)), whole);
}

bool LoopContest::isWithinLimit(const float* a, double lengthA, const float* b, double lengthB) const {
  constexpr double roundingFactor = 1 + 1e-12;
  const double most = limit() * roundingFactor;
  return dsp::spanKernels().exactDistance(a, 1 / lengthA, b, 1 / lengthB, most) <= most;
}

void LoopContest::offer(std::size_t start, std::size_t end) {
  constexpr double error = 1e-12;
  if (!allows(start, end) || roughScore(x_, start, end) < bar() - error || !isNew(start, end)) return;
  const LoopPair pair{start, end, spanScore(x_, start, end)};
  if (beatsBest(pair)) best_ = pair;
}

bool LoopContest::areAllowed(const LoopSpan& a, const LoopSpan& b) const {
  const bool isFewer = a.positions.size() <= b.positions.size();
  const auto &few = isFewer ? a.positions : b.positions, &many = isFewer ? b.positions : a.positions;
  const auto isWithin = [&](std::size_t low, std::size_t high) {
    const auto next = std::lower_bound(many.begin(), many.end(), low);
    return next != many.end() && *next <= high;
  };
  const std::size_t shortest = range_.shortest - 1, longest = range_.longest;
  return std::any_of(few.rbegin(), few.rend(), [&](std::size_t here) {
    return isWithin(here + shortest, here + longest) ||
           (here >= shortest && isWithin(here - std::min(here, longest), here - shortest));
  });
}

void LoopContest::offer(const Place& start, const Place& end, Distance distance) {
  constexpr std::size_t enough = 128;
  if (!allows(start.position, end.position) || !isNew(start.position, end.position)) return;
  if (distance == Distance::unknown &&
      !isWithinLimit(framesAt(start.position), start.length, framesAt(end.position), end.length))
    return;
  scores_.expect(start.position, end.position);
  waiting_.push_back({start.position, end.position});
  if (waiting_.size() >= enough) settle();
}

void LoopContest::settle() {
  scores_.make(waiting_);
  for (const auto& [start, end, score] : waiting_)
    if (beatsBest({start, end, score})) best_ = {start, end, score};
  waiting_.clear();
}

void LoopContest::offer(const LoopSpan& a, const LoopSpan& b) {
  if (!isWithinLimit(a.frames, a.length, b.frames, b.length)) return;
  const auto [first, second] = std::minmax(a.positions.front(), b.positions.front());
  const Score score = spanScore(x_, first, second);
  offerLatest(a.positions, b.positions, score);
  if (a.frames != b.frames) offerLatest(b.positions, a.positions, score);
}

void LoopContest::offerLatest(std::span<const uint32_t> starts, std::span<const uint32_t> ends, Score score) {
  for (std::size_t i = ends.size(); i-- > 0;) {
    const std::size_t end = ends[i];
    if (!beatsBest({end, end, score})) return;
    const StartRange allowed = startsFor(starts, end, range_);
    for (std::size_t s = allowed.last; s-- > allowed.first;) {
      const LoopPair pair{starts[s], end, score};
      if (!beatsBest(pair)) return;
      if (!isNew(pair.start, pair.end)) continue;
      best_ = pair;
      return;
    }
  }
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
