#pragma once
// The conversion report as text and as JSON.

#include <nlohmann/json.hpp>

#include "cli/command_line.h"
#include "cli/console.h"
#include "core/report.h"

namespace tervo::cli {

std::string reportText(const ConversionReport& report);

/// The report that reportJson() made; what is not of that form is left out.
ConversionReport reportFrom(const nlohmann::ordered_json& json);

/// Prints the report where the command line wants it: `--json` on standard output, `--report` alone as text on standard
/// error. A file is JSON when its name ends in ".json" or `--json` is set. False with LastErrorText when the file
/// cannot be written.
bool outputReport(const ConversionReport& report, const CommandLine& line, Console& console);
/// Only the file, if one is wanted: for a command whose own document holds the report.
bool saveReport(const ConversionReport& report, const CommandLine& line);
/// Writes the report file: one of the two forms.
bool writeReport(const CommandLine& line, const nlohmann::ordered_json& json, const std::string& text);

}  // namespace tervo::cli
