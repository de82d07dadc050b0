#include "cli/report_output.h"

#include <fmt/format.h>

#include "cli/document_json.h"
#include "platform/file.h"
#include "platform/path.h"

namespace tervo::cli {

std::string reportText(const ConversionReport& report) {
  if (report.entries().empty()) return "Nothing was lost.\n";
  std::string text;
  for (const ReportEntry& entry : report.entries()) {
    text += fmt::format("{}: {}: {}", printable(entry.item), printable(nameOf(entry.kind)), printable(entry.what));
    if (!entry.from.empty()) text += fmt::format(", from {}", printable(entry.from));
    if (!entry.to.empty()) text += fmt::format("{} {}", entry.from.empty() ? ":" : " to", printable(entry.to));
    text += "\n";
  }
  return text;
}

bool outputReport(const ConversionReport& report, const CommandLine& line, Console& console) {
  if (line.json) console.out(dumped(reportJson(report)));
  if (line.report == ReportOutput::standardError && !line.json) console.err(reportText(report));
  if (line.report != ReportOutput::file) return true;
  const bool json = line.json || equalNoCase(platform::extensionOf(line.reportFile.path), u"json");
  const std::string text = json ? dumped(reportJson(report)) : reportText(report);
  const auto file = platform::OutputFile::create(line.reportFile.path, platform::Replace::allowed);
  return file && file->write(std::as_bytes(std::span(text))) && file->commit();
}

}  // namespace tervo::cli
