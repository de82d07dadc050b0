#include "cli/saving.h"

#include "base/last_error.h"
#include "cli/selection.h"
#include "formats/save_flow.h"

namespace tervo::cli {

bool saveDocument(Run& run, const Collection& collection, FormatIndex row) {
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

}  // namespace tervo::cli
