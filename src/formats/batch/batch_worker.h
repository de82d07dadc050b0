#pragma once
// One conversion in a process of its own, whatever becomes of that.

#include <functional>

#include "formats/batch/batch.h"

namespace tervo {

struct WorkerRequest {
  Text program;
  std::vector<Text> arguments;
  Text source, target;      ///< as among the arguments; what the worker says begins with one of them
  double stallSeconds = 0;  ///< a worker that has said nothing for so long is ended; 0: it may take any time
};

struct WorkerResult {
  BatchState state = BatchState::failed;  ///< done, failed or cancelled
  Text cause, messages;
  std::string report;
};

/// Asked again and again with the share that is done; false ends the worker.
using WorkerProgress = std::function<bool(double fraction)>;

/// Any thread; leaves LastErrorText alone.
WorkerResult runWorker(const WorkerRequest& request, const WorkerProgress& progress);

}  // namespace tervo
