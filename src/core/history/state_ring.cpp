#include "core/history/state_ring.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "base/last_error.h"
#include "platform/file.h"
#include "platform/local_time.h"
#include "platform/path.h"
#include "platform/user_folders.h"

namespace tervo {
namespace {

constexpr int moved(int index, int by) {
  return ((index + by) % StateRing::capacity + StateRing::capacity) % StateRing::capacity;
}

/// How many steps lead forward from one entry to another.
constexpr int distance(int from, int to) {
  return moved(to, -from);
}

}  // namespace

Text stateFolder() {
  return platform::join(platform::dataFolder(), u"Tervo Studio");
}

Text savedStateName(std::chrono::system_clock::time_point when) {
  const platform::ClockTime time = platform::localTime(when);
  return fromUtf8(fmt::format("Saved state {:02}:{:02}.{:02}", time.hours, time.minutes, time.seconds));
}

Text stateFileName(TextView stateName) {
  Text name(stateName);
  std::replace_if(
      name.begin(), name.end(), [](char16_t c) { return c == u':' || c == u'.'; }, u'_');
  return name.append(stateExtension);
}

Text StateRing::pathOf(TextView name) const {
  return platform::join(folder_, stateFileName(name));
}

bool StateRing::SaveState(const ItemImage& document, Text name) {
  if (!platform::createFolders(folder_) || !writeStateFile(pathOf(name), document, openStored_)) return false;
  for (; newest_ != current_; newest_ = moved(newest_, -1)) drop(newest_, name);
  current_ = moved(current_, 1);
  if (current_ == oldest_) {
    drop(oldest_, name);
    oldest_ = moved(oldest_, 1);
  }
  at(current_) = std::move(name);
  newest_ = current_;
  if (oldest_ < 0) oldest_ = current_;
  return true;
}

bool StateRing::RestoreState(Collection& document, int offset, AfterLoading afterLoading) {
  if (current_ < 0 || offset > distance(oldest_, current_) || -offset > distance(current_, newest_))
    return fail(u"There is no such saved state");
  const int index = moved(current_, -offset);
  if (!readStateFile(document, pathOf(name(index)), openStored_)) return false;
  current_ = index;
  if (afterLoading == AfterLoading::deleteFile) takeOut(index);
  return true;
}

/// States of the same second share a file: it stays while another entry bears the name, or the one being made.
void StateRing::drop(int index, TextView keptName) {
  const Text name = std::exchange(at(index), Text());
  const bool isShared = name == keptName || std::find(names_.begin(), names_.end(), name) != names_.end();
  if (!name.empty() && !isShared) platform::removeFile(pathOf(name));
}

/// Drops an entry and closes the gap.
void StateRing::takeOut(int index) {
  drop(index, {});
  for (int at = index; at != newest_; at = moved(at, 1)) std::swap(this->at(at), this->at(moved(at, 1)));
  if (oldest_ == newest_) {
    oldest_ = newest_ = current_ = -1;
    return;
  }
  newest_ = moved(newest_, -1);
  if (current_ != oldest_) current_ = moved(current_, -1);
}

}  // namespace tervo
