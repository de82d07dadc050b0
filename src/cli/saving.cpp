#include "cli/saving.h"

#include <algorithm>

#include "base/last_error.h"
#include "cli/selection.h"
#include "cli/song_rendering.h"
#include "formats/save_flow.h"
#include "platform/file.h"

namespace tervo::cli {

bool isOneOf(const NamedFile& file, const std::vector<NamedFile>& files) {
  return std::any_of(files.begin(), files.end(), [&](const NamedFile& other) {
    return file.path == other.path || platform::sameFile(file.path, other.path);
  });
}

bool reportHidesAFile(const CommandLine& line) {
  if (line.report != ReportOutput::file) return false;
  if (!isOneOf(line.reportFile, line.files) && !isOneOf(line.reportFile, {line.target})) return false;
  setLastErrorText(u"The report would replace a file of this conversion");
  return true;
}

bool saveDocument(Run& run, const Collection& collection, FormatIndex row) {
  Text hint;
  const Item* item = chosenItem(run.line, collection, row, hint);
  const SaveContext context{run.host, run.report, run.settings, run.line.save,
                            run.line.overwrite ? Overwrite::allowed : Overwrite::refused};
  SongRendering rendering(run, collection);
  run.host.setSongRenderer([&](const Song& song) { return rendering.render(song); });
  const bool saved = item && SaveItem(item, row, run.line.target.path, context);
  run.host.setSongRenderer(nullptr);
  if (saved) return true;
  run.host.endProgress();
  // Samples are read while they are being written.
  const bool bySource = LastErrorText() == u"Reading from file failed" && run.line.files.size() == 1;
  if (LastErrorText() == u"File exists already") hint = u"--overwrite replaces it";
  run.console.failure(bySource ? run.line.files[0].shown : run.line.target.shown, hint);
  return false;
}

}  // namespace tervo::cli
