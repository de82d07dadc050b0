#include "cli/commands.h"
#include "cli/opening.h"
#include "cli/report_output.h"
#include "cli/saving.h"
#include "cli/selection.h"

namespace tervo::cli {

int runConvert(const CommandLine& line, Console& console, const Settings& settings) {
  if (reportHidesAFile(line)) return console.failure(line.reportFile.shown), exitWrongUsage;
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
