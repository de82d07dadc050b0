#include "formats/batch/source_walk.h"

#include <algorithm>
#include <set>

#include "base/last_error.h"
#include "formats/failure_cause.h"
#include "platform/file.h"
#include "platform/path.h"

namespace tervo {
namespace {

using platform::FileIdentity;

class Walk {
 public:
  Walk(TextView targetFolder, const std::atomic<bool>* cancelled)
      : cancelled_(cancelled), target_(platform::fileIdentity(targetFolder)) {}

  void addNamed(const Text& path) {
    if (!platform::isFolder(path)) return add({path, {}, true, {}});
    // A folder that is the target itself has been named as a source all the same.
    enter(path, {});
  }

  std::vector<BatchSource> sources;

 private:
  void add(BatchSource source) {
    if (seen_.insert(source.path).second) sources.push_back(std::move(source));
  }

  /// A link to a folder above would lead round for ever.
  void enter(const Text& path, const Text& below) {
    const auto identity = platform::fileIdentity(path);
    if (!identity) return addProblem(path, below);
    if (std::find(above_.begin(), above_.end(), *identity) != above_.end()) return;
    above_.push_back(*identity);
    walk(path, below);
    above_.pop_back();
  }

  void walk(const Text& path, const Text& below) {
    auto names = platform::listFolder(path);
    if (!names) return addProblem(path, below);
    std::sort(names->begin(), names->end());
    for (const Text& name : *names) {
      if (cancelled_ && *cancelled_) return;
      const Text inner = platform::join(path, name);
      if (name.starts_with(u'.')) continue;
      if (!platform::isFolder(inner))
        add({inner, below, false, {}});
      else if (!target_ || platform::fileIdentity(inner) != target_)
        enter(inner, platform::join(below, name));
    }
  }

  void addProblem(const Text& path, const Text& below) {
    const Text cause = failureCause();
    add({path, below, true, u"Could not read folder" + (cause.empty() ? Text() : u" (" + cause + u")")});
  }

  const std::atomic<bool>* cancelled_;
  std::optional<FileIdentity> target_;
  std::vector<FileIdentity> above_;
  std::set<Text> seen_;
};

}  // namespace

std::vector<BatchSource> batchSources(const std::vector<Text>& named, TextView targetFolder,
                                      const std::atomic<bool>* cancelled) {
  const SilentFailures silent;
  Walk walk(targetFolder, cancelled);
  for (const Text& path : named) walk.addNamed(path);
  return std::move(walk.sources);
}

}  // namespace tervo
