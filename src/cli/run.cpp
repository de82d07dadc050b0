#include "cli/commands.h"

namespace tervo::cli {

int run(const std::vector<Text>& arguments, Console& console) {
  const Parsed parsed = parseCommandLine(arguments);
  if (!parsed.commandLine) {
    console.out(parsed.output);
    console.err(parsed.error);
    return parsed.exitStatus;
  }
  const CommandLine& line = *parsed.commandLine;
  Settings settings;
  switch (line.command) {
    case Command::detect: return runDetect(line, console);
    case Command::info: return runInfo(line, console, settings);
    case Command::convert: return runConvert(line, console, settings);
    case Command::formats: return runFormats(line, console);
    case Command::settingsList:
    case Command::settingsGet:
    case Command::settingsSet: break;
  }
  return runSettings(line, console);
}

}  // namespace tervo::cli
