#include "formats/batch/batch_worker.h"

#include <charconv>

#include "base/last_error.h"
#include "base/printable.h"
#include "platform/child_process.h"
#include "platform/file.h"

namespace tervo {
namespace {

using platform::ChildProcess;
using std::chrono::milliseconds, std::chrono::steady_clock;

constexpr milliseconds pollInterval{50};
/// How long a worker that was asked to end may take.
constexpr milliseconds patience{2000};
/// A worker that says more is not worth listening to.
constexpr std::size_t messageLimit = 64 * 1024;
constexpr int cancelledStatus = 130;

/// Takes apart what a worker says, a line at a time.
class Messages {
 public:
  explicit Messages(const WorkerRequest& request)
      : sourcePrefix_(printable(request.source) + ": "), targetPrefix_(printable(request.target) + ": ") {}

  void add(std::string_view bytes) {
    for (const char c : bytes) {
      if (c != '\n' && line_.size() < messageLimit)
        line_ += c;
      else
        endLine();
    }
  }
  void endLine() {
    if (!takeProgress() && !takeFailure()) keep();
    line_.clear();
  }

  double progress = 0;
  std::string failure, others;

 private:
  /// "42 %".
  bool takeProgress() {
    int percent = 0;
    const auto parsed = std::from_chars(line_.data(), line_.data() + line_.size(), percent);
    const std::string_view rest(parsed.ptr, line_.data() + line_.size());
    if (parsed.ec != std::errc() || rest != " %") return false;
    progress = percent / 100.0;
    return true;
  }

  /// "tervo: FILE: MESSAGE". The entry names the file already.
  bool takeFailure() {
    constexpr std::string_view mark = "tervo: ";
    if (!line_.starts_with(mark)) return false;
    failure = line_.substr(mark.size());
    for (const std::string& prefix : {sourcePrefix_, targetPrefix_})
      if (failure.starts_with(prefix)) failure.erase(0, prefix.size());
    return true;
  }

  void keep() {
    if (!line_.empty() && others.size() < messageLimit) others += line_ + "\n";
  }

  std::string sourcePrefix_, targetPrefix_, line_;
};

void end(ChildProcess& child) {
  child.askToEnd();
  const auto limit = steady_clock::now() + patience;
  while (!child.wait(pollInterval)) {
    if (steady_clock::now() > limit) child.kill();
  }
}

enum class Ending { byItself, stalled, cancelled };

class Worker {
 public:
  Worker(const WorkerRequest& request, ChildProcess& child) : request_(request), child_(child), messages_(request) {}

  WorkerResult run(const WorkerProgress& progress) {
    const Ending ending = listen(progress);
    messages_.endLine();
    WorkerResult result;
    result.report = std::move(report_);
    result.messages = fromPathBytes(messages_.others);
    if (ending == Ending::cancelled || child_.exitStatus() == cancelledStatus)
      result.state = BatchState::cancelled;
    else if (ending == Ending::byItself && child_.exitStatus() == 0)
      result.state = BatchState::done;
    else
      result.cause = causeOf(ending);
    return result;
  }

 private:
  Ending listen(const WorkerProgress& progress) {
    auto lastSign = steady_clock::now();
    while (!child_.wait(pollInterval)) {
      if (take()) lastSign = steady_clock::now();
      const std::chrono::duration<double> silence = steady_clock::now() - lastSign;
      const bool isStalled = request_.stallSeconds > 0 && silence.count() > request_.stallSeconds;
      if (progress(messages_.progress) && !isStalled) continue;
      end(child_);
      return take(), isStalled ? Ending::stalled : Ending::cancelled;
    }
    return take(), Ending::byItself;
  }

  bool take() {
    const std::string messages = child_.takeMessages(), output = child_.takeOutput();
    messages_.add(messages);
    report_ += output;
    return !messages.empty() || !output.empty();
  }

  Text causeOf(Ending ending) const {
    if (ending == Ending::stalled) {
      const auto seconds = static_cast<int64_t>(request_.stallSeconds);
      return u"No sign of life for " + fromUtf8(std::to_string(seconds)) + u" seconds";
    }
    if (!child_.crash().empty()) return u"The conversion crashed (" + child_.crash() + u")";
    if (!messages_.failure.empty()) return fromPathBytes(messages_.failure);
    return u"The conversion failed with exit status " + fromUtf8(std::to_string(child_.exitStatus()));
  }

  const WorkerRequest& request_;
  ChildProcess& child_;
  Messages messages_;
  std::string report_;
};

}  // namespace

WorkerResult runWorker(const WorkerRequest& request, const WorkerProgress& progress) {
  const SilentFailures silent;
  const auto child = ChildProcess::start(request.program, request.arguments);
  if (!child) {
    WorkerResult result;
    result.cause = u"Could not start " + request.program + u" (" + platform::systemErrorCause() + u")";
    return result;
  }
  return Worker(request, *child).run(progress);
}

}  // namespace tervo
