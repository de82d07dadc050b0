#include "core/history/state_ring.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>
#include <vector>

#include "base/last_error.h"
#include "platform/file.h"
#include "platform/file_time.h"
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

/// The name of the state in a file; empty when the program does not name its files like that.
Text stateNameOf(TextView fileName) {
  static constexpr TextView pattern = u"Saved state 00_00_00";
  if (fileName.size() != pattern.size() + stateExtension.size() || !fileName.ends_with(stateExtension)) return {};
  Text name(fileName.substr(0, pattern.size()));
  const auto fits = [](char16_t c, char16_t place) { return place == u'0' ? c >= u'0' && c <= u'9' : c == place; };
  if (!std::equal(name.begin(), name.end(), pattern.begin(), fits)) return {};
  name[pattern.find(u'_')] = u':';
  name[pattern.rfind(u'_')] = u'.';
  return name;
}

/// The names of the states in the folder, oldest first.
std::vector<Text> statesIn(TextView folder) {
  std::vector<std::pair<int64_t, Text>> dated;
  for (const Text& fileName : platform::namesIn(folder))
    if (Text name = stateNameOf(fileName); !name.empty())
      dated.emplace_back(platform::modificationTime(platform::join(folder, fileName)), std::move(name));
  std::sort(dated.begin(), dated.end());
  std::vector<Text> names;
  for (auto& [time, name] : dated) names.push_back(std::move(name));
  return names;
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

StateRing::StateRing(Text folder, OpenStored openStored) : folder_(std::move(folder)), openStored_(openStored) {
  std::vector<Text> found = statesIn(folder_);
  const std::size_t surplus = found.size() - std::min<std::size_t>(found.size(), capacity);
  for (std::size_t i = 0; i < surplus; ++i) platform::removeFile(pathOf(found[i]));
  if (found.empty()) return;
  std::move(found.begin() + static_cast<std::ptrdiff_t>(surplus), found.end(), names_.begin());
  oldest_ = 0;
  newest_ = current_ = static_cast<int>(found.size() - surplus) - 1;
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
