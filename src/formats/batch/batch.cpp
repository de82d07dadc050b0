#include "formats/batch/batch.h"

#include <array>

namespace tervo {

TextView nameOf(BatchState state) {
  constexpr std::array<TextView, 7> names = {u"waiting",      u"running", u"done",     u"finished before",
                                             u"unrecognised", u"failed",  u"cancelled"};
  return names[static_cast<std::size_t>(state)];
}

BatchCounts countsOf(const std::vector<BatchEntry>& entries) {
  BatchCounts counts;
  const std::array<std::size_t*, 7> byState = {&counts.waiting,        &counts.running,      &counts.done,
                                               &counts.finishedBefore, &counts.unrecognised, &counts.failed,
                                               &counts.cancelled};
  for (const BatchEntry& entry : entries) ++*byState[static_cast<std::size_t>(entry.state)];
  return counts;
}

}  // namespace tervo
