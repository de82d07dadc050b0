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

ConversionReport reportFrom(const nlohmann::ordered_json& json) {
  ConversionReport report;
  if (!json.is_array()) return report;
  for (const auto& each : json) {
    const auto text = [&](const char* name) { return each.is_object() ? fromUtf8(each.value(name, "")) : Text(); };
    ReportEntry entry{text("item"), text("what"), ReportKind::dropped, text("from"), text("to")};
    for (const ReportKind kind : {ReportKind::kept, ReportKind::approximated})
      if (text("kind") == nameOf(kind)) entry.kind = kind;
    report.add(std::move(entry));
  }
  return report;
}

bool writeReport(const CommandLine& line, const nlohmann::ordered_json& json, const std::string& text) {
  const bool isJson = line.json || equalNoCase(platform::extensionOf(line.reportFile.path), u"json");
  const std::string content = isJson ? dumped(json) : text;
  const auto file = platform::OutputFile::create(line.reportFile.path, platform::Replace::allowed);
  return file && file->write(std::as_bytes(std::span(content))) && file->commit();
}

bool outputReport(const ConversionReport& report, const CommandLine& line, Console& console) {
  if (line.json) console.out(dumped(reportJson(report)));
  if (line.report == ReportOutput::standardError && !line.json) console.err(reportText(report));
  return saveReport(report, line);
}

bool saveReport(const ConversionReport& report, const CommandLine& line) {
  return line.report != ReportOutput::file || writeReport(line, reportJson(report), reportText(report));
}

}  // namespace tervo::cli
