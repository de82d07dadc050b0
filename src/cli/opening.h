#pragma once
// Opening files for a command: the flow of the format framework with this command line's answers and messages.

#include "cli/cli_host.h"
#include "cli/command_line.h"
#include "cli/console.h"
#include "core/collection.h"
#include "core/report.h"
#include "core/settings.h"

namespace tervo::cli {

/// What a run works with.
struct Run {
  const CommandLine& line;
  Console& console;
  const Settings& settings;
  CliHost host{console, line};
  ConversionReport report{};
};

/// Opens `path` into the collection, or merges it. Prints the failure. An undetected file is read as raw data when the
/// command line says so, or when the question is answered so.
bool openFile(Run& run, Collection& collection, const Text& path);
bool mergeFile(Run& run, Collection& collection, const Text& path);

}  // namespace tervo::cli
