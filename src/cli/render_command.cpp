#include "base/last_error.h"
#include "cli/commands.h"
#include "cli/saving.h"
#include "cli/selection.h"

namespace tervo::cli {
namespace {

/// A row that holds waveforms; what holds songs would be given the song itself.
FormatIndex waveformRow(const CommandLine& line, Text& hint) {
  const FormatIndex row = chosenRow(line, hint);
  if (row == noFormat || (rowAt(row)->flags & FormatFlags::songs) == 0) return row;
  setLastErrorText(u"The file format can not save this item");
  hint = u"it holds songs; \"tervo convert\" writes it";
  return noFormat;
}

}  // namespace

int runRender(CommandLine line, Console& console, const Settings& settings) {
  if (reportHidesAFile(line)) return console.failure(line.reportFile.shown), exitWrongUsage;
  Text hint;
  const FormatIndex row = waveformRow(line, hint);
  if (row == noFormat) return console.failure(line.target.shown, hint), exitFailed;
  if (line.items.empty()) line.items = {u"song:0"};
  return openAndSave(line, row, console, settings);
}

}  // namespace tervo::cli
