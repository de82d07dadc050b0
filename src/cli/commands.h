#pragma once
// The commands. Each returns the exit status: 0 done, 1 at least one operation failed, 130 cancelled.

#include "cli/command_line.h"
#include "cli/console.h"

namespace tervo::cli {

inline constexpr int exitDone = 0, exitFailed = 1, exitWrongUsage = 2, exitCancelled = 130;

int runDetect(const CommandLine& line, Console& console);
int runInfo(const CommandLine& line, Console& console, const Settings& settings);
int runConvert(const CommandLine& line, Console& console, const Settings& settings);
int runPlay(const CommandLine& line, Console& console, const Settings& settings);
int runDevices(const CommandLine& line, Console& console);
int runRender(const CommandLine& line, Console& console, const Settings& settings);
int runProcess(const CommandLine& line, Console& console, const Settings& settings);
int runProcessList(const CommandLine& line, Console& console);
int runBatch(const CommandLine& line, Console& console, const Settings& settings);
int runFormats(const CommandLine& line, Console& console);
int runSettings(const CommandLine& line, Console& console, Settings settings);
int runState(const CommandLine& line, Console& console, const Settings& settings);

/// Parses and runs. The whole program but for the process's own streams.
int run(const std::vector<Text>& arguments, Console& console);

}  // namespace tervo::cli
