#pragma once
// The conversion report as text and as JSON.

#include "cli/command_line.h"
#include "cli/console.h"
#include "core/report.h"

namespace tervo::cli {

std::string reportText(const ConversionReport& report);

/// Prints the report where the command line wants it: `--json` on standard output, `--report` alone as text on standard
/// error. A file is JSON when its name ends in ".json" or `--json` is set. False with LastErrorText when the file
/// cannot be written.
bool outputReport(const ConversionReport& report, const CommandLine& line, Console& console);

}  // namespace tervo::cli
