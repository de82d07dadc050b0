#include "cli/opening.h"

#include "base/last_error.h"
#include "formats/open_flow.h"

namespace tervo::cli {
namespace {

OpenContext contextOf(Run& run) {
  return {run.host,
          run.report,
          run.settings,
          run.line.raw,
          run.line.rawModel ? Normalisation::skipped : Normalisation::applied,
          &run.detected};
}

using OpenStep = bool (*)(Collection&, TextView, RawFallback, const OpenContext&);

/// Opens the file and, when nobody knows it and the user wants that, opens it again as raw data.
bool openOrFallBack(Run& run, Collection& collection, const NamedFile& file, OpenStep step) {
  const RawFallback fallback = run.line.forceRaw ? RawFallback::allowed : RawFallback::refused;
  if (step(collection, file.path, fallback, contextOf(run))) return true;
  if (LastErrorText() != u"Not detected as any supported file type") return false;
  RawChoice remembered = RawChoice::askEachTime;
  return askRawFallback(run.host, remembered) == RawFallback::allowed &&
         step(collection, file.path, RawFallback::allowed, contextOf(run));
}

/// What helps the user with a file that no format takes.
Text undetectedHint(const NamedFile& file) {
  const Text note = knownButUnreadNote(file.path);
  return note.empty() ? u"--force-raw reads it as raw data" : note;
}

bool openOrSayWhy(Run& run, Collection& collection, const NamedFile& file, OpenStep step) {
  if (openOrFallBack(run, collection, file, step)) return true;
  run.host.endProgress();
  const bool undetected = LastErrorText() == u"Not detected as any supported file type";
  run.console.failure(file.shown, undetected ? undetectedHint(file) : Text());
  return false;
}

}  // namespace

bool openFile(Run& run, Collection& collection, const NamedFile& file) {
  return openOrSayWhy(run, collection, file, OpenFile);
}

bool mergeFile(Run& run, Collection& collection, const NamedFile& file) {
  return openOrSayWhy(run, collection, file, MergeFile);
}

bool openAll(Run& run, Collection& collection) {
  for (const NamedFile& file : run.line.files) {
    const bool first = &file == &run.line.files.front();
    if (!(first ? openFile : mergeFile)(run, collection, file)) return false;
    if (!run.host.cancelled()) continue;
    setLastErrorText(u"Save aborted!");
    return run.console.failure(run.line.target.shown), false;
  }
  return true;
}

}  // namespace tervo::cli
