#include "cli/opening.h"

#include <fmt/format.h>

#include "base/last_error.h"
#include "cli/document_json.h"
#include "formats/open_flow.h"
#include "platform/file.h"

namespace tervo::cli {
namespace {

OpenContext contextOf(Run& run) {
  return {run.host, run.report, run.settings, run.line.raw,
          run.line.rawModel ? Normalisation::skipped : Normalisation::applied};
}

using OpenStep = bool (*)(Collection&, TextView, RawFallback, const OpenContext&);

bool openOrMerge(Run& run, Collection& collection, const NamedFile& file, OpenStep step) {
  const RawFallback fallback = run.line.forceRaw ? RawFallback::allowed : RawFallback::refused;
  if (step(collection, file.path, fallback, contextOf(run))) return true;
  if (LastErrorText() == u"Not detected as any supported file type") {
    RawChoice remembered = RawChoice::askEachTime;
    if (!run.line.answers.empty() && askRawFallback(run.host, remembered) == RawFallback::allowed &&
        step(collection, file.path, RawFallback::allowed, contextOf(run))) {
      return true;
    }
    const Text note = knownButUnreadNote(file.path);
    if (!note.empty()) return run.console.failure(file.shown, LastErrorText() + u" (" + note + u")"), false;
  }
  run.console.failure(file.shown);
  return false;
}

}  // namespace

std::optional<int> openFile(Run& run, Collection& collection, const NamedFile& file) {
  if (!openOrMerge(run, collection, file, OpenFile)) return std::nullopt;
  const auto bytes = platform::InputFile::open(file.path);
  return bytes ? DetectFormat(file.path, *bytes).confidence : 0;
}

bool mergeFile(Run& run, Collection& collection, const NamedFile& file) {
  return openOrMerge(run, collection, file, MergeFile);
}

}  // namespace tervo::cli
