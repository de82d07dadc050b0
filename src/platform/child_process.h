#pragma once
// Another program, run beside this one: without a shell, with its output and messages captured, nothing to read.

#include <chrono>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "base/text.h"

namespace tervo::platform {

/// One thread at a time.
class ChildProcess {
 public:
  /// Null with "Could not start program" (and systemErrorCause()). The arguments are those behind the program's name
  /// and may hold any bytes that a path can.
  static std::unique_ptr<ChildProcess> start(TextView program, const std::vector<Text>& arguments);
  /// Ends the child at once when it still runs.
  virtual ~ChildProcess() = default;

  /// Waits until the child has ended (true), has said something, or the time is over.
  virtual bool wait(std::chrono::milliseconds timeout) = 0;
  /// Asks it to end, as a closing system would; on Windows, where nothing can ask a program without a window, the same
  /// as kill().
  virtual void askToEnd() noexcept = 0;
  virtual void kill() noexcept = 0;

  /// Once it has ended: its exit status, and in words what ended it when it did not end by itself.
  int exitStatus() const { return exitStatus_; }
  const Text& crash() const { return crash_; }

  /// What came on its standard streams since the last call.
  std::string takeOutput() { return std::exchange(output_, {}); }
  std::string takeMessages() { return std::exchange(messages_, {}); }

 protected:
  std::string output_, messages_;
  int exitStatus_ = 0;
  Text crash_;
};

}  // namespace tervo::platform
