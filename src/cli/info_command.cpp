#include <fmt/format.h>

#include <algorithm>

#include "base/last_error.h"
#include "cli/commands.h"
#include "cli/document_json.h"
#include "cli/document_text.h"
#include "cli/opening.h"

namespace tervo::cli {
namespace {

/// Opens and shows one file.
int showFile(const NamedFile& file, Run& run, nlohmann::ordered_json& all) {
  Collection collection;
  if (!openFile(run, collection, file)) {
    if (run.line.json) all.push_back({{"path", utf8(file.shown)}, {"error", utf8(LastErrorText())}});
    return run.failureStatus();
  }
  run.host.endProgress();
  if (run.line.json)
    all.push_back(fileJson(file.shown, collection, run.detected.confidence, run.report));
  else
    run.console.out(documentText(file.shown, collection));
  const std::size_t losses = run.report.entries().size();
  if (losses > 0 && !run.line.json && !run.line.quiet)
    run.console.err(fmt::format("{}: not everything could be kept as it is ({}); --json lists what\n",
                                printable(file.shown), losses == 1 ? "one loss" : fmt::format("{} losses", losses)));
  return exitDone;
}

}  // namespace

int runInfo(const CommandLine& line, Console& console, const Settings& settings) {
  nlohmann::ordered_json all = nlohmann::ordered_json::array();
  int status = exitDone;
  for (const NamedFile& file : line.files) {
    Run run{line, console, settings};
    status = std::max(status, run.host.cancelled() ? exitCancelled : showFile(file, run, all));
    if (status == exitCancelled) break;
  }
  if (line.json) console.out(dumped(all));
  return status;
}

}  // namespace tervo::cli
