#pragma once
// Converting many files into up to four formats: what is asked for, and the entries that it comes to. Nothing here
// talks to people; `tervo batch` and the window show the entries.

#include <vector>

#include "base/text.h"
#include "formats/format_table.h"

namespace tervo {

inline constexpr std::size_t maxBatchRows = 4;

struct BatchRequest {
  std::vector<Text> sources;      ///< files, and folders with all that is below them; absolute
  std::vector<FormatIndex> rows;  ///< 1 to maxBatchRows that can write
  Text targetFolder;              ///< absolute
  bool overwrite = false;         ///< targets may replace files, but never a source
  bool resume = false;            ///< what an earlier run has finished stays as it is
  std::vector<Text> options;      ///< of `tervo convert`, for each file: {u"--coding", u"PCM 24-bit"}; paths absolute
};

enum class BatchState : uint8_t {
  waiting,
  running,
  done,
  finishedBefore,  ///< by an earlier run, nothing to do
  unrecognised,    ///< found in a folder, and no format reads it
  failed,
  cancelled
};
/// "waiting", "done", ...
TextView nameOf(BatchState state);

/// One file in one format.
struct BatchEntry {
  Text source;
  Text target;
  FormatIndex row = noFormat;
  bool isNamed = false;   ///< by the user, not found in a folder
  bool replaces = false;  ///< the target may be there already
  BatchState state = BatchState::waiting;
  Text cause;           ///< why it failed
  double progress = 0;  ///< 0 to 1, while it runs
  double seconds = 0;   ///< how long it took
  Text messages;        ///< what the worker said besides: questions and their answers
  std::string report;   ///< what was lost, as `tervo convert --json` prints it
};

struct BatchCounts {
  std::size_t waiting = 0, running = 0, done = 0, finishedBefore = 0, unrecognised = 0, failed = 0, cancelled = 0;
};
BatchCounts countsOf(const std::vector<BatchEntry>& entries);

}  // namespace tervo
