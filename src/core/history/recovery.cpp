#include "core/history/recovery.h"

#include <algorithm>

#include "base/last_error.h"
#include "base/memory_guard.h"
#include "platform/path.h"

namespace tervo {
namespace {

using Duration = std::chrono::steady_clock::duration;

constexpr TextView prefix = u"Recovery ";
constexpr int restPerWrite = 20;

Text presencePath(TextView statePath) {
  return Text(statePath) + u".alive";
}

Duration write(const Text& path, const ItemImage& image, OpenStored openStored) {
  const SilentFailures silent;
  const auto start = std::chrono::steady_clock::now();
  writeStateFile(path, image, openStored);
  return std::chrono::steady_clock::now() - start;
}

}  // namespace

RecoveryKeeper::RecoveryKeeper(Text folder, OpenStored openStored, std::chrono::seconds interval)
    : openStored_(openStored), interval_(interval), folder_(std::move(folder)) {
  // The random part of a temporary name tells running programs apart.
  Text name(prefix);
  name.append(platform::temporaryName().substr(1)).append(stateExtension);
  path_ = platform::join(folder_, name);
}

RecoveryKeeper::~RecoveryKeeper() {
  settle();
  discard();
}

void RecoveryKeeper::tend(const DocumentHistory& history, const Collection& document, Time now) {
  if (isWriting(now)) return;
  if (!history.hasUnsavedChanges()) return discard();
  if (history.revision() == writtenRevision_ || now < due_) return;
  const SilentFailures silent;
  if (!presence_ && platform::createFolders(folder_)) presence_ = platform::PresenceFile::tryHold(presencePath(path_));
  if (!presence_) return;
  writtenRevision_ = history.revision();
  due_ = now + interval_;
  guardMemory([&] {
    writing_ = std::async(std::launch::async, write, path_, imageOf(document), openStored_);
    return true;
  });
}

void RecoveryKeeper::settle() {
  if (writing_.valid()) writing_.wait();
}

bool RecoveryKeeper::isWriting(Time now) {
  if (!writing_.valid()) return false;
  if (writing_.wait_for(std::chrono::seconds(0)) != std::future_status::ready) return true;
  due_ = std::max(due_, now + writing_.get() * restPerWrite);
  return false;
}

void RecoveryKeeper::discard() {
  if (!presence_) return;
  platform::removeFile(path_);
  presence_.reset();
  writtenRevision_ = 0;
}

std::vector<Text> lostStates(TextView folder) {
  std::vector<Text> lost;
  for (const Text& name : platform::namesIn(folder)) {
    if (!isRecoveryState(name)) continue;
    Text path = platform::join(folder, name);
    if (platform::PresenceFile::tryHold(presencePath(path))) lost.push_back(std::move(path));
  }
  std::sort(lost.begin(), lost.end());
  return lost;
}

bool isRecoveryState(TextView fileName) {
  return fileName.starts_with(prefix) && fileName.ends_with(stateExtension);
}

bool offerLostStates(DocumentHistory& history, Host& host, TextView folder) {
  static constexpr TextView buttons[] = {u"Restore", u"Later", u"Discard"};
  static constexpr std::size_t restore = 0, later = 1, discard = 2;
  for (const Text& path : lostStates(folder)) {
    const std::size_t answer =
        host.ask({u"The program ended without saving what was loaded. Do you want to restore it?", buttons, later});
    if (answer == discard) discardLostState(path);
    if (answer != restore) continue;
    if (history.LoadState(path)) return discardLostState(path), true;
    host.showStatus(LastErrorText());
  }
  return false;
}

void discardLostState(TextView path) {
  platform::removeFile(path);
}

}  // namespace tervo
