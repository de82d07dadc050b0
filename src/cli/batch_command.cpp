#include <algorithm>

#include "base/last_error.h"
#include "cli/batch_output.h"
#include "cli/commands.h"
#include "cli/saving.h"
#include "cli/selection.h"
#include "cli/song_rendering.h"
#include "cli/worker_options.h"
#include "formats/batch/batch_run.h"

namespace tervo::cli {
namespace {

constexpr std::chrono::milliseconds pollInterval{100};

/// The row that the text begins with, and how much of the text names it: descriptions have commas of their own.
FormatIndex leadingRow(TextView text, std::size_t& length, Text& hint) {
  for (length = text.size();; length = text.rfind(u',', length - 1)) {
    const FormatIndex row = writerNamed(text.substr(0, length), hint);
    if (row != noFormat || text.substr(0, length).find(u',') == TextView::npos) return row;
  }
}

/// The rows of all "--to", each once. None after saying why.
std::vector<FormatIndex> chosenRows(const std::vector<Text>& named, Console& console) {
  std::vector<FormatIndex> rows;
  for (TextView text : named) {
    do {
      std::size_t length = 0;
      Text hint;
      const FormatIndex row = leadingRow(text, length, hint);
      if (row == noFormat) return console.failure(u"--to " + Text(text), hint), std::vector<FormatIndex>();
      if (std::find(rows.begin(), rows.end(), row) == rows.end()) rows.push_back(row);
      text.remove_prefix(std::min(length + 1, text.size()));
    } while (!text.empty());
  }
  if (rows.size() <= maxBatchRows) return rows;
  setLastErrorText(u"A batch has at most four target formats");
  return console.failure(u"--to"), std::vector<FormatIndex>();
}

BatchRequest requestOf(const CommandLine& line, std::vector<FormatIndex> rows) {
  BatchRequest request;
  for (const NamedFile& file : line.files) request.sources.push_back(file.path);
  request.rows = std::move(rows);
  request.targetFolder = line.batch.folder.path;
  request.overwrite = line.overwrite;
  request.resume = line.batch.resume;
  request.options = workerOptions(line);
  return request;
}

bool hasEnded(const BatchEntry& entry) {
  return entry.state != BatchState::waiting && entry.state != BatchState::running;
}

void follow(BatchRun& run, BatchPrinter& printer, const Console& console) {
  while (!run.isOver()) {
    for (const std::size_t index : run.poll(pollInterval))
      if (hasEnded(run.entries()[index])) printer.ended(run.entries()[index]);
    printer.progress(run.entries());
    if (console.cancelRequested()) run.cancel();
  }
}

int statusOf(const std::vector<BatchEntry>& entries) {
  const BatchCounts counts = countsOf(entries);
  if (counts.cancelled > 0) return exitCancelled;
  return counts.failed > 0 ? exitFailed : exitDone;
}

int finish(const BatchRun& run, BatchPrinter& printer, const CommandLine& line, Console& console) {
  const int status = statusOf(run.entries());
  printer.summary(run.entries(), status == exitCancelled);
  if (!run.journalProblem().empty()) {
    setLastErrorText(u"The journal could not be written: --resume would do finished files again");
    console.failure(line.batch.folder.shown, run.journalProblem());
  }
  if (printer.reports(run.entries())) return status;
  console.failure(line.reportFile.shown);
  return status == exitDone ? exitFailed : status;
}

/// The report must not take the place of a source, a bank or a target.
bool reportIsInTheWay(const CommandLine& line, const Settings& settings, const std::vector<BatchEntry>& entries) {
  if (line.report != ReportOutput::file) return false;
  std::vector<NamedFile> files = banksFor(line, settings);
  for (const BatchEntry& entry : entries) {
    files.push_back({entry.source, entry.source});
    files.push_back({entry.target, entry.target});
  }
  if (!isOneOf(line.reportFile, files)) return false;
  setLastErrorText(u"The report would replace a file of this conversion");
  return true;
}

}  // namespace

int runBatch(const CommandLine& line, Console& console, const Settings& settings) {
  auto rows = chosenRows(line.batch.rows, console);
  if (rows.empty()) return exitWrongUsage;
  BatchPlan plan = PlanBatch(requestOf(line, std::move(rows)));
  if (reportIsInTheWay(line, settings, plan.entries)) return console.failure(line.reportFile.shown), exitWrongUsage;
  BatchPrinter printer(line, console);
  if (line.batch.dryRun) return printer.plan(plan.entries), statusOf(plan.entries);
  for (const BatchEntry& entry : plan.entries) printer.ended(entry);
  BatchRun run(std::move(plan), {line.batch.workers, line.batch.stallSeconds});
  if (!run.start()) return console.failure(line.batch.folder.shown), exitFailed;
  follow(run, printer, console);
  return finish(run, printer, line, console);
}

}  // namespace tervo::cli
