#include "base/last_error.h"
#include "cli/commands.h"
#include "core/settings_table.h"
#include "platform/settings_backend.h"

namespace tervo::cli {
namespace {

/// The user's settings with what "--set" changes for this run.
std::optional<Settings> settingsFor(const CommandLine& line, Console& console) {
  Settings settings;
  ReadSettings(settings, *platform::openUserSettings());
  for (const Text& set : line.sets) {
    if (setSettingText(settings, set)) continue;
    console.failure(u"--set " + set);
    return std::nullopt;
  }
  return settings;
}

int runCommand(const CommandLine& line, Console& console) {
  const auto settings = settingsFor(line, console);
  if (!settings) return exitWrongUsage;
  switch (line.command) {
    case Command::detect:
      return runDetect(line, console);
    case Command::info:
      return runInfo(line, console, *settings);
    case Command::convert:
      return runConvert(line, console, *settings);
    case Command::render:
      return runRender(line, console, *settings);
    case Command::play:
      return runPlay(line, console, *settings);
    case Command::devices:
      return runDevices(line, console);
    case Command::process:
      return runProcess(line, console, *settings);
    case Command::processList:
      return runProcessList(line, console);
    case Command::batch:
      return runBatch(line, console, *settings);
    case Command::formats:
      return runFormats(line, console);
    case Command::stateSave:
    case Command::stateLoad:
    case Command::stateList:
      return runState(line, console, *settings);
    default:
      return runSettings(line, console, *settings);
  }
}

int parseAndRun(const std::vector<Text>& arguments, Console& console) {
  const Parsed parsed = parseCommandLine(arguments);
  if (!parsed.commandLine) {
    console.out(parsed.output);
    console.err(parsed.error);
    return parsed.exitStatus;
  }
  return runCommand(*parsed.commandLine, console);
}

}  // namespace

int run(const std::vector<Text>& arguments, Console& console) {
  const int status = parseAndRun(arguments, console);
  if (!console.outputFailed()) return status;
  setLastErrorText(u"Writing to file failed");
  console.failure(u"standard output");
  return status == exitDone ? exitFailed : status;
}

}  // namespace tervo::cli
