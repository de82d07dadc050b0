#pragma once
// Which pair of places is the best so far. Whatever the order in which pairs come, the winner is the one that going
// through all of them, ends from the last one downwards and starts from the last one downwards, would have found first.

#include <optional>
#include <span>

#include "tools/loop/loop_places.h"
#include "tools/loop/loop_search.h"
#include "tools/loop/whole_scores.h"

namespace tervo {

class LoopContest {
 public:
  /// `others` are the loops that the winner must not be like. Both spans must outlive the contest.
  LoopContest(std::span<const float> x, const LoopRange& range, std::span<const LoopPair> others)
      : x_(x), range_(range), others_(others), scores_(x) {}

  std::span<const float> x() const { return x_; }
  const LoopRange& range() const { return range_; }

  /// Whether two crossings of the spans make a loop that is as long as loops may be (or nearly).
  bool areAllowed(const LoopSpan& a, const LoopSpan& b) const;
  /// Two crossings of the same direction; nothing happens when their loop is shorter or longer than loops may be.
  void offer(std::size_t start, std::size_t end);
  struct Place {
    std::size_t position;
    double length;  ///< of its span, which is whole, finite and not silent
  };
  enum class Distance { unknown, withinLimit };
  /// Two crossings of the same direction, and what is known of their spans. They may have to wait for others, until
  /// settle().
  void offer(const Place& start, const Place& end, Distance distance);
  void settle();
  /// The best loop between crossings of two spans of the same direction, or of one span.
  void offer(const LoopSpan& a, const LoopSpan& b);

  /// The score that a pair must reach to be of interest.
  double bar() const { return best_ ? static_cast<double>(best_->score) : 0; }
  /// The square of the distance that the spans of such a pair have at most, when both have length 1.
  double limit() const;
  /// The same, closer, for a span of which at most so many samples are softer than softSample times its length.
  double limit(std::size_t soft) const;
  static constexpr double softSample = 0x1p-8 * (1 + 0x1p-9);
  /// Where the limit is above this, that is no closer one.
  static constexpr double nearlyEqual = 0x1p-36;
  const std::optional<LoopPair>& best() const { return best_; }

 private:
  bool allows(std::size_t start, std::size_t end) const {
    return start + range_.shortest <= end + 1 && start + range_.longest >= end && end >= range_.first + range_.shortest;
  }
  const float* framesAt(std::size_t position) const { return x_.data() + (position - spanBefore); }
  bool isWithinLimit(const float* a, double lengthA, const float* b, double lengthB) const;
  bool isNew(std::size_t start, std::size_t end) const;
  bool beatsBest(const LoopPair& pair) const;
  void offerLatest(std::span<const uint32_t> starts, std::span<const uint32_t> ends, Score score);

  std::span<const float> x_;
  LoopRange range_;
  std::span<const LoopPair> others_;
  std::optional<LoopPair> best_;
  WholeScores scores_;
  std::vector<WholeScores::Pair> waiting_;
};

}  // namespace tervo
