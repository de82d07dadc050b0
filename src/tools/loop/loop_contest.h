#pragma once
// Which pair of places is the best so far. Whatever the order in which pairs come, the winner is the one that going
// through all of them, ends from the last one downwards and starts from the last one downwards, would have found first.

#include <optional>
#include <span>
#include <unordered_map>

#include "tools/loop/loop_places.h"
#include "tools/loop/loop_search.h"

namespace tervo {

class LoopContest {
 public:
  /// `others` are the loops that the winner must not be like. Both spans must outlive the contest.
  LoopContest(std::span<const float> x, const LoopRange& range, std::span<const LoopPair> others)
      : x_(x), range_(range), others_(others) {}

  std::span<const float> x() const { return x_; }
  const LoopRange& range() const { return range_; }

  /// Whether a loop from one crossing to another is as long as loops may be.
  bool allows(std::size_t start, std::size_t end) const {
    return start + range_.shortest <= end + 1 && start + range_.longest >= end && end >= range_.first + range_.shortest;
  }
  /// Two crossings of the same direction whose loop is allowed.
  void offer(std::size_t start, std::size_t end);
  /// The same for places of one list. A sound of equal periods has millions of pairs that all score the same; those
  /// of places with twins are scored once.
  void offer(const LoopPlace& start, const LoopPlace& end);

  /// The score that a pair must reach to be of interest.
  double bar() const { return best_ ? static_cast<double>(best_->score) : 0; }
  /// How far apart the spans of such a pair are at most, when both have length 1.
  double reach() const;
  const std::optional<LoopPair>& best() const { return best_; }

 private:
  bool isNew(std::size_t start, std::size_t end) const;
  bool beatsBest(const LoopPair& pair) const;
  Score scoreOfTwins(const LoopPlace& start, const LoopPlace& end);

  std::span<const float> x_;
  LoopRange range_;
  std::span<const LoopPair> others_;
  std::optional<LoopPair> best_;

  struct KnownScore {
    uint64_t twins = 0;
    Score score = 0;
  };
  KnownScore latest_;
  std::unordered_map<uint64_t, Score> known_;
};

}  // namespace tervo
