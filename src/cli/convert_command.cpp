#include "cli/commands.h"
#include "cli/saving.h"
#include "cli/selection.h"

namespace tervo::cli {

int runConvert(const CommandLine& line, Console& console, const Settings& settings) {
  if (reportHidesAFile(line, settings)) return console.failure(line.reportFile.shown), exitWrongUsage;
  Text hint;
  const FormatIndex row = chosenRow(line, hint);
  if (row == noFormat) return console.failure(line.target.shown, hint), exitFailed;
  return openAndSave(line, row, console, settings);
}

}  // namespace tervo::cli
