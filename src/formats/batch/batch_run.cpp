#include "formats/batch/batch_run.h"

#include <algorithm>
#include <exception>

#include "base/last_error.h"
#include "platform/file.h"
#include "platform/path.h"
#include "platform/program.h"
#include "platform/thread.h"

namespace tervo {
namespace {

using std::chrono::steady_clock;

bool isFinal(BatchState state) {
  return state != BatchState::waiting && state != BatchState::running;
}

}  // namespace

BatchRun::BatchRun(BatchPlan plan, BatchRunOptions options) : plan_(std::move(plan)), options_(std::move(options)) {
  for (std::size_t i = 0; i < plan_.entries.size(); ++i)
    if (plan_.entries[i].state == BatchState::waiting) order_.push_back(i);
  unfinished_ = order_.size();
  if (options_.workers <= 0) options_.workers = platform::processorCount();
  if (options_.program.empty()) options_.program = platform::siblingProgram(u"tervo");
}

BatchRun::~BatchRun() {
  cancel();
  for (std::thread& thread : threads_) thread.join();
}

bool BatchRun::start() {
  if (order_.empty()) return true;
  if (!platform::createFolders(plan_.request.targetFolder) || !plan_.journal.begin()) return false;
  const std::size_t count = std::min(static_cast<std::size_t>(options_.workers), order_.size());
  threads_.reserve(count);
  while (threads_.size() < count) {
    if (platform::startThread(threads_.emplace_back(), [this] { work(); })) continue;
    threads_.pop_back();
    break;
  }
  // Those that began do the work of all.
  return !threads_.empty() || fail(u"Could not start a thread");
}

std::vector<std::size_t> BatchRun::poll(std::chrono::milliseconds timeout) {
  std::vector<Event> events;
  {
    std::unique_lock lock(mutex_);
    if (unfinished_ > 0) told_.wait_for(lock, timeout, [this] { return !events_.empty(); });
    events.swap(events_);
    journalProblem_ = noteProblem_;
  }
  std::vector<std::size_t> changed;
  for (Event& event : events) {
    apply(event);
    changed.push_back(event.entry);
  }
  return changed;
}

void BatchRun::apply(Event& event) {
  BatchEntry& entry = plan_.entries[event.entry];
  entry.state = event.state;
  entry.progress = event.progress;
  entry.seconds = event.seconds;
  entry.cause = std::move(event.result.cause);
  entry.messages = std::move(event.result.messages);
  entry.report = std::move(event.result.report);
  if (isFinal(entry.state)) --unfinished_;
}

void BatchRun::work() {
  platform::setThreadRole(platform::ThreadRole::other);
  const SilentFailures silent;
  for (std::size_t i = next_++; i < order_.size(); i = next_++) {
    try {
      convert(order_[i]);
    } catch (const std::exception&) {
      WorkerResult result;
      result.cause = u"Out of memory";
      tell({order_[i], BatchState::failed, 1, 0, std::move(result)});
    }
  }
}

void BatchRun::convert(std::size_t index) {
  if (cancelled_) return tell({index, BatchState::cancelled});
  tell({index, BatchState::running});
  const auto start = steady_clock::now();
  WorkerResult result = resultOf(index);
  const BatchEntry& entry = plan_.entries[index];
  if (result.state == BatchState::done) note(&BatchJournal::noteDone, entry);
  const bool isForeign = result.cause.starts_with(u"Not detected as any supported file type");
  if (isForeign && !entry.isNamed) result.state = BatchState::unrecognised;
  const std::chrono::duration<double> taken = steady_clock::now() - start;
  const BatchState state = result.state;
  tell({index, state, 1, taken.count(), std::move(result)});
}

WorkerResult BatchRun::resultOf(std::size_t index) {
  const BatchEntry& entry = plan_.entries[index];
  if (const Text folder = platform::folderOf(entry.target); !platform::createFolders(folder)) {
    WorkerResult result;
    result.cause = u"Could not create folder (" + platform::systemErrorCause() + u")";
    return result;
  }
  note(&BatchJournal::noteBegun, entry);
  const WorkerRequest request{options_.program, argumentsFor(entry), entry.source, entry.target, options_.stallSeconds};
  double shown = 0;
  return runWorker(request, [&](double fraction) {
    if (fraction > shown) tell({index, BatchState::running, shown = fraction});
    return !cancelled_;
  });
}

std::vector<Text> BatchRun::argumentsFor(const BatchEntry& entry) const {
  const auto& given = plan_.request.options;
  std::vector<Text> arguments = {u"convert",   entry.source,       u"-o",
                                 entry.target, u"--format",        fromUtf8(std::to_string(entry.row)),
                                 u"--json",    u"--progress-lines"};
  arguments.insert(arguments.end(), given.begin(), given.end());
  if (entry.replaces) arguments.push_back(u"--overwrite");
  // The processors are taken by the other workers.
  const bool saysThreads = std::find(given.begin(), given.end(), u"--threads") != given.end();
  if (options_.workers > 1 && !saysThreads) arguments.insert(arguments.end(), {u"--threads", u"1"});
  return arguments;
}

void BatchRun::note(bool (BatchJournal::*what)(const BatchJournal::Task&), const BatchEntry& entry) {
  const std::lock_guard journalLock(journalMutex_);
  if ((plan_.journal.*what)(taskOf(plan_.request, entry))) return;
  const std::lock_guard lock(mutex_);
  noteProblem_ = platform::systemErrorCause();
}

void BatchRun::tell(Event event) {
  {
    const std::lock_guard lock(mutex_);
    events_.push_back(std::move(event));
  }
  told_.notify_one();
}

}  // namespace tervo
