#pragma once
// Opening files for a command: the flow of the format framework with this command line's answers and messages.

#include "cli/cli_host.h"
#include "cli/commands.h"
#include "core/collection.h"
#include "core/report.h"
#include "core/settings.h"
#include "formats/detection.h"

namespace tervo::cli {

/// What a run works with.
struct Run {
  const CommandLine& line;
  Console& console;
  const Settings& settings;
  CliHost host{console, line};
  ConversionReport report{};
  Detection detected{};  ///< of the file opened last

  /// How a failed run exits.
  int failureStatus() const { return host.cancelled() ? exitCancelled : exitFailed; }
};

/// Opens the file into the collection. False after printing why it failed. An undetected file is read as raw data when
/// the command line says so, or the question is answered so.
bool openFile(Run& run, Collection& collection, const NamedFile& file);
/// The same for a further file, whose items are added.
bool mergeFile(Run& run, Collection& collection, const NamedFile& file);
/// Opens the first file of the command line and merges the others.
bool openAll(Run& run, Collection& collection);

}  // namespace tervo::cli
