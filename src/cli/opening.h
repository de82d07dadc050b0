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

  /// How a failed run exits.
  int failureStatus() const { return host.cancelled() ? 130 : 1; }
};

/// Opens `path` into the collection and returns the confidence of its detection in percent. Nothing after printing why
/// it failed. An undetected file is read as raw data when the command line says so, or the question is answered so.
std::optional<int> openFile(Run& run, Collection& collection, const NamedFile& file);
/// The same for a further file, whose items are added.
bool mergeFile(Run& run, Collection& collection, const NamedFile& file);

}  // namespace tervo::cli
