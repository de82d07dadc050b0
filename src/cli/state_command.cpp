#include <fmt/format.h>

#include <algorithm>

#include "base/last_error.h"
#include "cli/commands.h"
#include "cli/document_json.h"
#include "cli/document_text.h"
#include "cli/opening.h"
#include "cli/report_output.h"
#include "cli/saving.h"
#include "cli/selection.h"
#include "core/history/recovery.h"
#include "formats/stored_samples.h"
#include "platform/file.h"
#include "platform/path.h"

namespace tervo::cli {
namespace {

bool writeTarget(const CommandLine& line, const Collection& collection) {
  const auto replace = line.overwrite ? platform::Replace::allowed : platform::Replace::never;
  return writeStateFile(line.target.path, imageOf(collection), openStoredSamples, replace);
}

/// Among the user's own states, under the name that the time gives it.
bool writeSavedState(const Collection& collection, Text& path) {
  StateRing ring(stateFolder(), openStoredSamples);
  const Text name = savedStateName(std::chrono::system_clock::now());
  path = ring.pathOf(name);
  return ring.SaveState(imageOf(collection), name);
}

int save(const CommandLine& line, Console& console, const Settings& settings) {
  if (isOneOf(line.target, line.files)) {
    setLastErrorText(u"The state would replace a file that it is made of");
    return console.failure(line.target.shown), exitWrongUsage;
  }
  Run run{line, console, settings};
  Collection collection;
  if (!openAll(run, collection)) return run.failureStatus();
  run.host.endProgress();
  if (!line.target.shown.empty())
    return writeTarget(line, collection) ? exitDone : (console.failure(line.target.shown), exitFailed);
  Text path;
  if (!writeSavedState(collection, path)) return console.failure(path), exitFailed;
  console.out(printable(path) + "\n");
  return exitDone;
}

/// A state is loaded as it was saved.
bool setsLoadSettings(const CommandLine& line, Console& console) {
  const auto set =
      std::find_if(line.sets.begin(), line.sets.end(), [](const Text& each) { return each.starts_with(u"load."); });
  if (set == line.sets.end()) return false;
  setLastErrorText(u"Loading a program state does not use this setting");
  return console.failure(u"--set " + *set), true;
}

int load(const CommandLine& line, Console& console, const Settings& settings) {
  if (setsLoadSettings(line, console)) return exitWrongUsage;
  if (reportHidesAFile(line, settings)) return console.failure(line.reportFile.shown), exitWrongUsage;
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
  if (!saveDocument(run, collection, row, line.items)) return run.failureStatus();
  run.host.endProgress();
  if (!outputReport(run.report, line, console)) return console.failure(line.reportFile.shown), exitFailed;
  return exitDone;
}

bool listFile(const NamedFile& named, const CommandLine& line, Console& console, nlohmann::ordered_json& all) {
  const auto file = platform::InputFile::open(named.path);
  const auto summary = file ? stateSummary(*file) : std::nullopt;
  if (!summary) return console.failure(named.shown), false;
  all.push_back({{"path", utf8(named.shown)},
                 {"version", summary->version},
                 {"readable", summary->version == stateVersion},
                 {"records", summary->records},
                 {"bytes", file->size()}});
  if (!line.json)
    console.out(fmt::format("{}: version {}, {} records, {} bytes\n", printable(named.shown), summary->version,
                            summary->records, file->size()));
  return true;
}

/// All that stands in the user's folder but recovery states of programs that are running.
std::vector<NamedFile> userStates() {
  const Text folder = stateFolder();
  std::vector<NamedFile> states;
  for (const Text& path : lostStates(folder)) states.push_back({path, path});
  for (const Text& name : platform::namesIn(folder)) {
    const Text path = platform::join(folder, name);
    if (name.ends_with(stateExtension) && !isRecoveryState(name)) states.push_back({path, path});
  }
  std::sort(states.begin(), states.end(), [](const auto& a, const auto& b) { return a.path < b.path; });
  return states;
}

int list(const CommandLine& line, Console& console) {
  nlohmann::ordered_json all = nlohmann::ordered_json::array();
  int status = exitDone;
  if (const Text folder = stateFolder(); line.files.empty() && platform::fileExists(folder)) {
    setLastErrorText(u"Could not open file");
    console.failure(folder);
    status = exitFailed;
  }
  for (const NamedFile& file : line.files.empty() ? userStates() : line.files)
    if (!listFile(file, line, console, all)) status = exitFailed;
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
