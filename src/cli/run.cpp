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

}  // namespace

int run(const std::vector<Text>& arguments, Console& console) {
  const Parsed parsed = parseCommandLine(arguments);
  if (!parsed.commandLine) {
    console.out(parsed.output);
    console.err(parsed.error);
    return parsed.exitStatus;
  }
  const CommandLine& line = *parsed.commandLine;
  if (line.command == Command::detect) return runDetect(line, console);
  if (line.command == Command::formats) return runFormats(line, console);
  const auto settings = settingsFor(line, console);
  if (!settings) return exitWrongUsage;
  if (line.command == Command::info) return runInfo(line, console, *settings);
  if (line.command == Command::convert) return runConvert(line, console, *settings);
  return runSettings(line, console, *settings);
}

}  // namespace tervo::cli
