#pragma once
// Crash recovery: while the document holds unsaved changes, a state of it is written in the background now and then. A
// program that ends as it should takes the file with it; what is found at the next start was left by one that did not.

#include <chrono>
#include <future>

#include "core/history/document_history.h"
#include "platform/file.h"

namespace tervo {

struct RecoveryWrite {
  bool done = false;
  std::chrono::steady_clock::duration took{};
};

class RecoveryKeeper {
 public:
  using Time = std::chrono::steady_clock::time_point;
  RecoveryKeeper(Text folder, OpenStored openStored, std::chrono::seconds interval = std::chrono::seconds(30));
  /// The clean exit: waits for a write that is going on, and removes the file.
  ~RecoveryKeeper();

  /// Document thread, as often as is convenient: when the document has changed and the interval has passed, freezes it
  /// and has it written by another thread. Intervals grow with the time that a write takes, so that it never takes
  /// more than a twentieth of a processor.
  void tend(const DocumentHistory& history, const Collection& document, Time now);
  /// The lost state that the document was restored from: it goes when one of this document has been written, or is not
  /// needed any more.
  void replaces(Text lostState) { lost_ = std::move(lostState); }
  /// Waits until nothing is being written. For tests and for leaving the program.
  void settle();

  const Text& path() const { return path_; }

 private:
  bool isWriting(Time now);
  void discardLost();
  void discard();

  OpenStored openStored_;
  std::chrono::steady_clock::duration interval_;
  Text folder_;
  Text path_;
  Text lost_;
  std::unique_ptr<platform::PresenceFile> presence_;
  std::future<RecoveryWrite> writing_;
  uint64_t writtenRevision_ = 0;  ///< 0 when the last write failed
  Time due_{};
};

/// The recovery states in the folder whose programs are gone, as paths.
std::vector<Text> lostStates(TextView folder);
/// Whether a file of this name is a recovery state.
bool isRecoveryState(TextView fileName);
/// At the start of the program: asks about each lost state, with its name and time, until one is taken, which then is
/// the document, with unsaved changes. One that cannot be loaded, or is not wanted now, is asked about next time. The
/// path of the one that was taken, whose file is still there: a RecoveryKeeper replaces it.
std::optional<Text> offerLostStates(DocumentHistory& history, Host& host, TextView folder);
/// Removes a recovery state that the user does not want.
void discardLostState(TextView path);

}  // namespace tervo
