#include "formats/batch/batch_plan.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <set>
#include <tuple>

#include "formats/batch/source_walk.h"
#include "platform/path.h"

namespace tervo {
namespace {

/// Gives out names below the target folder, each once.
class TargetNames {
 public:
  TargetNames(const BatchRequest& request, const std::vector<BatchSource>& sources) : folder_(request.targetFolder) {
    for (const BatchSource& source : sources) {
      sourcePaths_.insert(folded(source.path));
      if (const auto identity = platform::fileIdentity(source.path)) sources_.insert(keyOf(*identity));
    }
  }

  /// One for each row of a source, sources one after another.
  Text claim(const BatchSource& source, TextView extension) {
    const Text dot = u"." + Text(extension);
    const Text stem = platform::join(source.folder, platform::stemOf(source.path));
    const Text whole = platform::join(source.folder, platform::fileNameOf(source.path));
    if (Text name = stem + dot; take(name, source)) return name;
    const auto holder = taken_.find(folded(stem + dot));
    const bool isOfOtherRow = holder != taken_.end() && holder->second == source.path;
    const bool wholeHelps = !equalNoCase(whole, stem + dot) && !isOfOtherRow;
    if (Text name = whole + dot; wholeHelps && take(name, source)) return name;
    for (int number = 2;; ++number) {
      Text name = stem + fromUtf8(fmt::format(" ({})", number)) + dot;
      if (take(name, source)) return name;
    }
  }

 private:
  using Key = std::tuple<uint64_t, uint64_t, uint64_t>;

  static Key keyOf(const platform::FileIdentity& identity) {
    return {identity.volume, identity.file[0], identity.file[1]};
  }

  static Text folded(TextView path) {
    Text result(path);
    for (char16_t& c : result) c = upper(c);
    return result;
  }

  bool take(const Text& name, const BatchSource& source) {
    const Text path = platform::join(folder_, name);
    if (sourcePaths_.contains(folded(path))) return false;
    const auto identity = platform::fileIdentity(path);
    if (identity && sources_.contains(keyOf(*identity))) return false;
    return taken_.emplace(folded(name), source.path).second;
  }

  const Text& folder_;
  std::set<Text> sourcePaths_;
  std::map<Text, Text> taken_;  ///< by which source
  std::set<Key> sources_;
};

BatchEntry entryOf(const BatchSource& source, FormatIndex row) {
  BatchEntry entry;
  entry.source = source.path;
  entry.row = row;
  entry.isNamed = source.isNamed;
  return entry;
}

BatchEntry problemOf(const BatchSource& source) {
  BatchEntry entry = entryOf(source, noFormat);
  entry.state = BatchState::failed;
  entry.cause = source.problem;
  return entry;
}

void decideWhatToDo(BatchEntry& entry, const BatchRequest& request, const BatchJournal& journal) {
  using Standing = BatchJournal::Standing;
  const Standing standing = request.resume ? journal.standing(taskOf(request, entry)) : Standing::unknown;
  entry.replaces = request.overwrite || standing == Standing::ours;
  if (standing == Standing::finished) {
    entry.state = BatchState::finishedBefore;
  } else if (!entry.replaces && platform::fileExists(entry.target)) {
    entry.state = BatchState::failed;
    entry.cause = u"File exists already";
  }
}

/// Where the target folder has been named as a source, what a batch has put there is none.
bool isOwnTarget(const BatchSource& source, const BatchRequest& request, const BatchJournal& journal) {
  const Text name = platform::join(source.folder, platform::fileNameOf(source.path));
  return !source.isNamed && platform::join(request.targetFolder, name) == source.path && journal.hasMade(name);
}

}  // namespace

BatchJournal::Task taskOf(const BatchRequest& request, const BatchEntry& entry) {
  std::string options = std::to_string(entry.row);
  for (const Text& option : request.options) options += '\0' + toPathBytes(option);
  const std::size_t folder = platform::join(request.targetFolder, u"").size();
  return {entry.source, entry.target.substr(std::min(folder, entry.target.size())), checkSum(options)};
}

BatchPlan PlanBatch(BatchRequest request, const std::atomic<bool>* cancelled) {
  // One spelling each: paths are compared.
  for (Text& source : request.sources) source = platform::absolute(source);
  request.targetFolder = platform::absolute(request.targetFolder);
  BatchJournal journal(request.targetFolder);
  BatchPlan plan{std::move(request), {}, std::move(journal)};
  auto sources = batchSources(plan.request.sources, plan.request.targetFolder, cancelled);
  std::erase_if(sources, [&](const BatchSource& source) { return isOwnTarget(source, plan.request, plan.journal); });
  TargetNames names(plan.request, sources);
  for (const BatchSource& source : sources) {
    if (cancelled && *cancelled) break;
    if (!source.problem.empty()) {
      plan.entries.push_back(problemOf(source));
      continue;
    }
    for (const FormatIndex row : plan.request.rows) {
      BatchEntry entry = entryOf(source, row);
      entry.target = platform::join(plan.request.targetFolder, names.claim(source, rowAt(row)->extension));
      decideWhatToDo(entry, plan.request, plan.journal);
      plan.entries.push_back(std::move(entry));
    }
  }
  return plan;
}

}  // namespace tervo
