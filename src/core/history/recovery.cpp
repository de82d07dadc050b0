#include "core/history/recovery.h"

#include <fmt/format.h>

#include <algorithm>
#include <system_error>

#include "base/last_error.h"
#include "base/memory_guard.h"
#include "platform/file_time.h"
#include "platform/local_time.h"
#include "platform/path.h"

namespace tervo {
namespace {

constexpr TextView prefix = u"Recovery ";
constexpr int restPerWrite = 20;

Text presencePath(TextView statePath) {
  return Text(statePath) + u".alive";
}

RecoveryWrite write(const Text& path, const ItemImage& image, OpenStored openStored) {
  const SilentFailures silent;
  const auto start = std::chrono::steady_clock::now();
  const bool done = guardMemory([&] { return writeStateFile(path, image, openStored); });
  return {done, std::chrono::steady_clock::now() - start};
}

/// False when memory or threads are short.
bool launch(std::future<RecoveryWrite>& writing, const Text& path, const Collection& document, OpenStored openStored) {
  try {
    writing = std::async(std::launch::async, write, path, imageOf(document), openStored);
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  } catch (const std::system_error&) {
    return false;
  }
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
  due_ = now + interval_;
  if (launch(writing_, path_, document, openStored_)) writtenRevision_ = history.revision();
}

void RecoveryKeeper::settle() {
  if (writing_.valid()) writing_.wait();
}

bool RecoveryKeeper::isWriting(Time now) {
  if (!writing_.valid()) return false;
  if (writing_.wait_for(std::chrono::seconds(0)) != std::future_status::ready) return true;
  const RecoveryWrite write = writing_.get();
  if (write.done) discardLost();
  if (!write.done) writtenRevision_ = 0;
  due_ = std::max(due_, now + write.took * restPerWrite);
  return false;
}

void RecoveryKeeper::discardLost() {
  if (!lost_.empty()) discardLostState(lost_);
  lost_.clear();
}

void RecoveryKeeper::discard() {
  discardLost();
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

namespace {

/// "Piano, 2026-03-04 05:06", or what of it is known.
Text whatIsIn(TextView path, const DocumentHistory& history) {
  const SilentFailures silent;
  Text what = history.nameInState(path).value_or(Text());
  if (const auto written = platform::writtenAt(path)) {
    const platform::ClockTime at = platform::localTime(*written);
    const auto time = fmt::format("{}-{:02}-{:02} {:02}:{:02}", at.year, at.month, at.day, at.hours, at.minutes);
    what += (what.empty() ? u"" : u", ") + fromUtf8(time);
  }
  return what;
}

}  // namespace

std::optional<Text> offerLostStates(DocumentHistory& history, Host& host, TextView folder) {
  static constexpr TextView buttons[] = {u"Restore", u"Later", u"Discard"};
  static constexpr std::size_t restore = 0, later = 1, discard = 2;
  for (const Text& path : lostStates(folder)) {
    Text text = u"The program ended without saving what was loaded. Do you want to restore it?";
    if (const Text what = whatIsIn(path, history); !what.empty()) text += u"\n\n" + what;
    const std::size_t answer = host.ask({text, buttons, later});
    if (answer == discard) discardLostState(path);
    if (answer != restore) continue;
    if (history.LoadState(path)) return path;
    host.showStatus(LastErrorText());
  }
  return std::nullopt;
}

void discardLostState(TextView path) {
  platform::removeFile(path);
}

}  // namespace tervo
