#pragma once
// Saving for a command.

#include "cli/opening.h"
#include "formats/format_table.h"

namespace tervo::cli {

bool isOneOf(const NamedFile& file, const std::vector<NamedFile>& files);
/// Whether the report would take the place of what it tells about; LastErrorText says so.
bool reportHidesAFile(const CommandLine& line, const Settings& settings);

/// Forgets what other items of the document lost when they were opened: nobody hears them.
void keepReportOf(const std::vector<const Item*>& items, const Collection& collection, ConversionReport& report);

/// Saves the items named, or what else is meant of the document, as the target of the command line, in a row of the
/// table. False after printing why it failed.
bool saveDocument(Run& run, Collection& collection, FormatIndex row, const std::vector<Text>& names);

/// A whole command: opens the sources, saves the target and reports. The exit status, after printing what went wrong.
int openAndSave(const CommandLine& line, FormatIndex row, Console& console, const Settings& settings);

}  // namespace tervo::cli
