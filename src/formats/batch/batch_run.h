#pragma once
// Carries a plan out, in the background: as many worker processes at once as there are processors.

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "formats/batch/batch_plan.h"
#include "formats/batch/batch_worker.h"

namespace tervo {

struct BatchRunOptions {
  int workers = 0;            ///< at once; 0: one a processor
  double stallSeconds = 600;  ///< a worker that has said nothing for so long is ended; 0: it may take any time
  Text program = {};          ///< the worker; empty: `tervo` beside this program
};

/// All calls from one thread.
class BatchRun {
 public:
  explicit BatchRun(BatchPlan plan, BatchRunOptions options = {});
  /// Cancels and waits.
  ~BatchRun();

  /// False with LastErrorText when the target folder cannot be used; nothing has begun then.
  bool start();
  /// Ends all workers; entries that are not done become cancelled, and no target is left half written.
  void cancel() noexcept { cancelled_ = true; }

  /// Waits until something has happened, at most so long, brings entries() up to date and returns which have changed.
  std::vector<std::size_t> poll(std::chrono::milliseconds timeout);
  /// Whether everything has come to its end and has been seen by poll().
  bool isOver() const { return unfinished_ == 0; }

  const BatchRequest& request() const { return plan_.request; }
  const std::vector<BatchEntry>& entries() const { return plan_.entries; }
  /// Why the journal could not be kept up, so that a later run cannot resume from it; empty when all is well.
  const Text& journalProblem() const { return journalProblem_; }

 private:
  struct Event {
    std::size_t entry;
    BatchState state;
    double progress = 0;
    double seconds = 0;
    WorkerResult result = {};
  };

  // Of the threads that run workers.
  void work();
  void convert(std::size_t index);
  WorkerResult resultOf(std::size_t index);
  std::vector<Text> argumentsFor(const BatchEntry& entry) const;
  void note(bool (BatchJournal::*what)(const BatchJournal::Task&), const BatchEntry& entry);
  void tell(Event event);

  void apply(Event& event);

  BatchPlan plan_;  ///< what an entry asks for is everybody's, what becomes of it is the caller's
  BatchRunOptions options_;
  std::vector<std::size_t> order_;  ///< the entries that are to be done
  std::size_t unfinished_ = 0;
  Text journalProblem_;
  std::atomic<std::size_t> next_{0};
  std::atomic<bool> cancelled_{false};

  std::mutex journalMutex_;
  std::mutex mutex_;  ///< of what follows
  std::condition_variable told_;
  std::vector<Event> events_;
  Text noteProblem_;

  std::vector<std::thread> threads_;
};

}  // namespace tervo
