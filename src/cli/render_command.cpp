#include "base/last_error.h"
#include "cli/commands.h"
#include "cli/saving.h"
#include "cli/selection.h"

namespace tervo::cli {
namespace {

/// A row that holds waveforms: what holds songs would be given the song itself, a bank would be made of one sound.
FormatIndex waveformRow(const CommandLine& line, Text& hint) {
  const FormatIndex row = chosenRow(line, hint);
  if (row == noFormat) return row;
  const bool isForSongs = rowAt(row)->flags & FormatFlags::songs;
  if (!isForSongs && (rowAt(row)->kindMask & kindBit(ItemKind::instrument)) == 0) return row;
  setLastErrorText(u"The file format can not save this item");
  hint = isForSongs ? u"it holds songs; \"tervo convert\" writes it" : u"it holds instruments, not just waveforms";
  return noFormat;
}

}  // namespace

int runRender(const CommandLine& line, Console& console, const Settings& settings) {
  if (reportHidesAFile(line, settings)) return console.failure(line.reportFile.shown), exitWrongUsage;
  Text hint;
  const FormatIndex row = waveformRow(line, hint);
  if (row == noFormat) return console.failure(line.target.shown, hint), exitFailed;
  return openAndSave(line, row, console, settings);
}

}  // namespace tervo::cli
