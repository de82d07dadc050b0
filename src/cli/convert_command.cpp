#include <fmt/format.h>

#include "base/last_error.h"
#include "cli/commands.h"
#include "cli/document_json.h"
#include "cli/opening.h"
#include "cli/report_output.h"
#include "cli/selection.h"
#include "formats/save_flow.h"

namespace tervo::cli {
namespace {

bool openAll(Run& run, Collection& collection) {
  bool first = true;
  for (const NamedFile& file : run.line.files) {
    if (!(first ? openFile(run, collection, file).has_value() : mergeFile(run, collection, file))) return false;
    first = false;
  }
  return true;
}

bool save(Run& run, const Collection& collection) {
  const FormatIndex row = chosenRow(run.line);
  if (row == noFormat) return run.console.failure(run.line.target.shown), false;
  const Item* item = chosenItem(run.line, collection, row);
  const SaveContext context{run.host, run.report, run.settings, run.line.save,
                            run.line.overwrite ? Overwrite::allowed : Overwrite::refused};
  if (item && SaveItem(item, row, run.line.target.path, context)) return true;
  run.host.endProgress();
  run.console.failure(run.line.target.shown);
  return false;
}

}  // namespace

int runConvert(const CommandLine& line, Console& console, const Settings& settings) {
  Run run{line, console, settings};
  Collection collection;
  if (!openAll(run, collection) || !save(run, collection)) return run.failureStatus();
  run.host.endProgress();
  if (!outputReport(run.report, line, console)) return console.failure(line.reportFile.shown), exitFailed;
  return exitDone;
}

}  // namespace tervo::cli
