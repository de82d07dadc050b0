#include "cli/batch_output.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "cli/document_json.h"
#include "cli/report_output.h"
#include "platform/path.h"

namespace tervo::cli {
namespace {

nlohmann::ordered_json reportOf(const BatchEntry& entry) {
  auto report = nlohmann::ordered_json::parse(entry.report, nullptr, false);
  return report.is_array() ? report : nlohmann::ordered_json::array();
}

/// "498 converted, 2 failed".
std::string countsText(const std::vector<BatchEntry>& entries, const char* converted) {
  const BatchCounts counts = countsOf(entries);
  const bool isPlan = counts.waiting > 0;
  std::string text = fmt::format("{} {}", isPlan ? counts.waiting : counts.done, converted);
  const std::pair<std::size_t, const char*> others[] = {{counts.finishedBefore, "finished before"},
                                                        {counts.unrecognised, "not recognised"},
                                                        {counts.failed, "failed"},
                                                        {counts.cancelled, "cancelled"}};
  for (const auto& [count, what] : others)
    if (count > 0) text += fmt::format(", {} {}", count, what);
  return text;
}

bool hasCause(const BatchEntry& entry) {
  return entry.state == BatchState::failed;
}

}  // namespace

std::string BatchPrinter::shortened(const Text& path) const {
  for (const NamedFile& file : line_.files) {
    if (path == file.path) return printable(file.shown);
    const Text folder = platform::join(file.path, u"");
    if (path.starts_with(folder)) return printable(platform::join(file.shown, path.substr(folder.size())));
  }
  const Text folder = platform::join(line_.batch.folder.path, u"");
  if (!path.starts_with(folder)) return printable(path);
  return printable(platform::join(line_.batch.folder.shown, path.substr(folder.size())));
}

std::string BatchPrinter::nameOfEntry(const BatchEntry& entry) const {
  if (entry.target.empty()) return shortened(entry.source);
  return fmt::format("{} -> {}", shortened(entry.source), shortened(entry.target));
}

void BatchPrinter::plan(const std::vector<BatchEntry>& entries) {
  if (line_.json) return console_.out(dumped(json(entries)));
  for (const BatchEntry& entry : entries) {
    if (hasCause(entry)) {
      ended(entry);
      continue;
    }
    const bool isLeftOut = entry.state == BatchState::finishedBefore;
    const Text what = isLeftOut ? Text(nameOf(entry.state)) : Text(descriptionOf(entry.row));
    console_.out(fmt::format("{} ({})\n", nameOfEntry(entry), utf8(what)));
  }
  if (!line_.quiet) console_.out(countsText(entries, "to convert") + "\n");
}

void BatchPrinter::ended(const BatchEntry& entry) {
  endProgress();
  // What was only found in a folder is not worth the question whether it is raw data.
  if (!line_.quiet && !entry.messages.empty() && entry.state != BatchState::unrecognised) {
    console_.err(fmt::format("{}:\n{}", shortened(entry.source), toPathBytes(entry.messages)));
  }
  if (hasCause(entry)) console_.err(fmt::format("tervo: {}: {}\n", nameOfEntry(entry), toPathBytes(entry.cause)));
}

void BatchPrinter::progress(const std::vector<BatchEntry>& entries) {
  if (!console_.isTerminal() || line_.quiet || line_.noProgress || entries.empty()) return;
  double ended = 0;
  for (const BatchEntry& entry : entries) {
    if (entry.state == BatchState::running) ended += entry.progress;
    if (entry.state != BatchState::running && entry.state != BatchState::waiting) ended += 1;
  }
  const auto size = static_cast<double>(entries.size());
  const std::string text = fmt::format("\r{:3.0f} % ({} of {})", 100 * ended / size, std::floor(ended), entries.size());
  if (text == shown_) return;
  console_.err(text);
  shown_ = text;
}

void BatchPrinter::endProgress() {
  if (!shown_.empty()) console_.err(fmt::format("\r{:{}}\r", "", shown_.size()));
  shown_.clear();
}

void BatchPrinter::summary(const std::vector<BatchEntry>& entries, bool isCancelled) {
  endProgress();
  if (line_.json) return console_.out(dumped(json(entries)));
  if (line_.quiet) return;
  std::string text = fmt::format("{}: {}\n", isCancelled ? "Cancelled" : "Done", countsText(entries, "converted"));
  for (const BatchEntry& entry : entries)
    if (hasCause(entry)) text += fmt::format("  {}: {}\n", nameOfEntry(entry), toPathBytes(entry.cause));
  console_.out(text);
}

bool BatchPrinter::reports(const std::vector<BatchEntry>& entries) {
  std::string text;
  for (const BatchEntry& entry : entries) {
    if (entry.state != BatchState::done) continue;
    if (const auto report = reportFrom(reportOf(entry)); !report.entries().empty())
      text += nameOfEntry(entry) + ":\n" + reportText(report) + "\n";
  }
  if (text.empty()) text = reportText({});
  if (line_.report == ReportOutput::standardError && !line_.json) console_.err(text);
  return line_.report != ReportOutput::file || writeReport(line_, json(entries), text);
}

nlohmann::ordered_json BatchPrinter::entryJson(const BatchEntry& entry) const {
  nlohmann::ordered_json object = {{"source", utf8(entry.source)},
                                   {"target", utf8(entry.target)},
                                   {"index", entry.row},
                                   {"state", utf8(nameOf(entry.state))}};
  if (!entry.cause.empty()) object["cause"] = utf8(entry.cause);
  if (!entry.messages.empty()) object["messages"] = utf8(entry.messages);
  if (entry.state != BatchState::done) return object;
  object["seconds"] = entry.seconds;
  object["report"] = reportOf(entry);
  return object;
}

nlohmann::ordered_json BatchPrinter::json(const std::vector<BatchEntry>& entries) const {
  const BatchCounts counts = countsOf(entries);
  nlohmann::ordered_json list = nlohmann::ordered_json::array();
  for (const BatchEntry& entry : entries) list.push_back(entryJson(entry));
  return {{"folder", utf8(line_.batch.folder.path)},
          {"counts",
           {{"waiting", counts.waiting},
            {"done", counts.done},
            {"finishedBefore", counts.finishedBefore},
            {"unrecognised", counts.unrecognised},
            {"failed", counts.failed},
            {"cancelled", counts.cancelled}}},
          {"entries", std::move(list)}};
}

}  // namespace tervo::cli
