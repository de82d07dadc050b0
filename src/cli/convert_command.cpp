#include <algorithm>

#include "base/last_error.h"
#include "cli/commands.h"
#include "cli/opening.h"
#include "cli/report_output.h"
#include "cli/selection.h"
#include "formats/save_flow.h"
#include "platform/file.h"

namespace tervo::cli {
namespace {

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

bool save(Run& run, const Collection& collection, FormatIndex row) {
  Text hint;
  const Item* item = chosenItem(run.line, collection, row, hint);
  const SaveContext context{run.host, run.report, run.settings, run.line.save,
                            run.line.overwrite ? Overwrite::allowed : Overwrite::refused};
  if (item && SaveItem(item, row, run.line.target.path, context)) return true;
  run.host.endProgress();
  // Samples are read while they are being written.
  const bool bySource = LastErrorText() == u"Reading from file failed" && run.line.files.size() == 1;
  if (LastErrorText() == u"File exists already") hint = u"--overwrite replaces it";
  run.console.failure(bySource ? run.line.files[0].shown : run.line.target.shown, hint);
  return false;
}

/// Whether the report would take the place of what it tells about.
bool reportHidesAFile(const CommandLine& line) {
  if (line.report != ReportOutput::file) return false;
  const auto same = [&](const NamedFile& file) {
    return file.path == line.reportFile.path || platform::sameFile(file.path, line.reportFile.path);
  };
  return same(line.target) || std::any_of(line.files.begin(), line.files.end(), same);
}

}  // namespace

int runConvert(const CommandLine& line, Console& console, const Settings& settings) {
  if (reportHidesAFile(line)) {
    setLastErrorText(u"The report would replace a file of this conversion");
    return console.failure(line.reportFile.shown), exitWrongUsage;
  }
  Text hint;
  const FormatIndex row = chosenRow(line, hint);
  if (row == noFormat) return console.failure(line.target.shown, hint), exitFailed;
  Run run{line, console, settings};
  Collection collection;
  if (!openAll(run, collection) || !save(run, collection, row)) return run.failureStatus();
  run.host.endProgress();
  if (!outputReport(run.report, line, console)) return console.failure(line.reportFile.shown), exitFailed;
  return exitDone;
}

}  // namespace tervo::cli
