#include <algorithm>

#include "base/last_error.h"
#include "cli/commands.h"
#include "cli/opening.h"
#include "cli/report_output.h"
#include "cli/saving.h"
#include "cli/selection.h"
#include "platform/file.h"

namespace tervo::cli {
namespace {

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
  if (!openAll(run, collection) || !saveDocument(run, collection, row)) return run.failureStatus();
  run.host.endProgress();
  if (!outputReport(run.report, line, console)) return console.failure(line.reportFile.shown), exitFailed;
  return exitDone;
}

}  // namespace tervo::cli
