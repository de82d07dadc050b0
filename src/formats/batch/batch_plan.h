#pragma once
// What a batch would do: which files, into which targets. Reads folders and an earlier run's journal, changes nothing.

#include <atomic>

#include "formats/batch/batch.h"
#include "formats/batch/batch_journal.h"

namespace tervo {

struct BatchPlan {
  BatchRequest request;
  std::vector<BatchEntry> entries;
  BatchJournal journal;
};

/// Folders are walked in the order of names; hidden files and folders (a dot in front) and the target folder are passed
/// over, as are files in it that a batch has made. Sub-folders are kept in the target folder. A target is named after
/// its source with the extension of its row. Of several that would have one name, upper and lower case being the same,
/// the first gets it and the others that of their whole source ("kick.aif.flac"), or else a number; nothing gets the
/// name of a source. Entries that cannot be done (a folder that cannot be read, a target that is there already) have
/// failed at once.
/// Any thread. As soon as `cancelled` is true, what follows is left out.
BatchPlan PlanBatch(BatchRequest request, const std::atomic<bool>* cancelled = nullptr);

/// The same for an entry's source or target as for the journal.
BatchJournal::Task taskOf(const BatchRequest& request, const BatchEntry& entry);

}  // namespace tervo
