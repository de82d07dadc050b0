#include <fmt/format.h>

#include "base/last_error.h"
#include "cli/commands.h"
#include "cli/document_json.h"
#include "cli/document_text.h"
#include "cli/opening.h"
#include "cli/report_output.h"
#include "cli/saving.h"
#include "cli/selection.h"
#include "core/history/state_file.h"
#include "formats/stored_samples.h"
#include "platform/file.h"

namespace tervo::cli {
namespace {

bool writeTarget(const CommandLine& line, const Collection& collection) {
  if (!line.overwrite && platform::fileExists(line.target.path)) return fail(u"File exists already");
  return writeStateFile(line.target.path, imageOf(collection), openStoredSamples);
}

int save(const CommandLine& line, Console& console, const Settings& settings) {
  Run run{line, console, settings};
  Collection collection;
  if (!openAll(run, collection)) return run.failureStatus();
  run.host.endProgress();
  if (writeTarget(line, collection)) return exitDone;
  return console.failure(line.target.shown), exitFailed;
}

int load(const CommandLine& line, Console& console, const Settings& settings) {
  Text hint;
  const FormatIndex row = line.target.shown.empty() ? noFormat : chosenRow(line, hint);
  if (row == noFormat && !line.target.shown.empty()) return console.failure(line.target.shown, hint), exitFailed;
  Run run{line, console, settings};
  Collection collection;
  const NamedFile& file = line.files.front();
  if (!readStateFile(collection, file.path, openStoredSamples)) return console.failure(file.shown), exitFailed;
  if (line.target.shown.empty()) {
    console.out(line.json ? dumped(nlohmann::ordered_json::array({fileJson(file.shown, collection, {}, run.report)}))
                          : documentText(file.shown, collection));
    return exitDone;
  }
  if (!saveDocument(run, collection, row)) return run.failureStatus();
  run.host.endProgress();
  if (!outputReport(run.report, line, console)) return console.failure(line.reportFile.shown), exitFailed;
  return exitDone;
}

int list(const CommandLine& line, Console& console) {
  nlohmann::ordered_json all = nlohmann::ordered_json::array();
  int status = exitDone;
  for (const NamedFile& named : line.files) {
    const auto file = platform::InputFile::open(named.path);
    const auto summary = file ? stateSummary(*file) : std::nullopt;
    if (!summary) {
      console.failure(named.shown);
      status = exitFailed;
      continue;
    }
    all.push_back({{"path", utf8(named.shown)},
                   {"version", summary->version},
                   {"readable", summary->version == stateVersion},
                   {"records", summary->records},
                   {"bytes", file->size()}});
    if (!line.json)
      console.out(fmt::format("{}: version {}, {} records, {} bytes\n", utf8(named.shown), summary->version,
                              summary->records, file->size()));
  }
  if (line.json) console.out(dumped(all));
  return status;
}

}  // namespace

int runState(const CommandLine& line, Console& console, const Settings& settings) {
  if (line.command == Command::stateSave) return save(line, console, settings);
  if (line.command == Command::stateLoad) return load(line, console, settings);
  return list(line, console);
}

}  // namespace tervo::cli
