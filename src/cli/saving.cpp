#include "cli/saving.h"

#include <algorithm>
#include <set>
#include <unordered_set>

#include "base/last_error.h"
#include "base/memory_guard.h"
#include "cli/commands.h"
#include "cli/report_output.h"
#include "cli/selection.h"
#include "cli/song_rendering.h"
#include "core/history/collection_part.h"
#include "formats/save_flow.h"
#include "platform/file.h"

namespace tervo::cli {

bool isOneOf(const NamedFile& file, const std::vector<NamedFile>& files) {
  return std::any_of(files.begin(), files.end(), [&](const NamedFile& other) {
    return file.path == other.path || platform::sameFile(file.path, other.path);
  });
}

bool reportHidesAFile(const CommandLine& line, const Settings& settings) {
  if (line.report != ReportOutput::file) return false;
  const bool isRead = isOneOf(line.reportFile, line.files) || isOneOf(line.reportFile, banksFor(line, settings));
  if (!isRead && !isOneOf(line.reportFile, {line.target})) return false;
  setLastErrorText(u"The report would replace a file of this conversion");
  return true;
}

void keepReportOf(const std::vector<const Item*>& items, const Collection& collection, ConversionReport& report) {
  std::set<Text> chosen, others;
  const auto isChosen = [&](const Item& item) { return std::find(items.begin(), items.end(), &item) != items.end(); };
  std::unordered_set<ItemId> played;
  const auto sort = [&](const auto& item, bool isWanted) { (isWanted ? chosen : others).insert(item->name); };
  for (const auto& song : collection.songs()) sort(song, isChosen(*song));
  for (const auto& instrument : collection.instruments()) {
    sort(instrument, isChosen(*instrument));
    if (!isChosen(*instrument)) continue;
    for (const auto& layer : instrument->layers())
      for (const auto& region : layer->regions()) played.insert(region->waveform);
  }
  for (const auto& waveform : collection.waveforms())
    sort(waveform, isChosen(*waveform) || played.contains(waveform->id()));
  ConversionReport kept;
  for (const ReportEntry& entry : report.entries())
    if (chosen.contains(entry.item) || !others.contains(entry.item)) kept.add(entry);
  report = std::move(kept);
}

namespace {

/// One as it is, several as a document of their own.
bool saveItems(const Collection& collection, const std::vector<Item*>& items, FormatIndex row, TextView path,
               const SaveContext& context) {
  if (items.size() == 1) return SaveItem(items[0], row, path, context);
  return guardMemory([&] {
    const auto part = partOf(collection, {items.begin(), items.end()});
    return SaveItem(part.get(), row, path, context);
  });
}

}  // namespace

bool saveDocument(Run& run, Collection& collection, FormatIndex row, const std::vector<Text>& names) {
  Text hint;
  const bool isSongWanted = names.empty() && run.line.command == Command::render;
  const auto items = isSongWanted ? songToRender(collection, hint) : chosenItems(names, collection, row, hint);
  if (!names.empty()) keepReportOf({items.begin(), items.end()}, collection, run.report);
  const SaveContext context{run.host, run.report, run.settings, run.line.save,
                            run.line.overwrite ? Overwrite::allowed : Overwrite::refused};
  SongRendering rendering(run, collection);
  run.host.setRenderer([&](const Item& item) { return rendering.render(item); });
  const bool saved = !items.empty() && saveItems(collection, items, row, run.line.target.path, context);
  run.host.setRenderer(nullptr);
  if (saved) return true;
  run.host.endProgress();
  // Samples are read while they are being written.
  const bool bySource = LastErrorText() == u"Reading from file failed" && run.line.files.size() == 1;
  if (LastErrorText() == u"File exists already") hint = u"--overwrite replaces it";
  run.console.failure(bySource ? run.line.files[0].shown : run.line.target.shown, hint);
  return false;
}

int openAndSave(const CommandLine& line, FormatIndex row, Console& console, const Settings& settings) {
  if (isOneOf(line.target, line.rendering.banks)) {
    setLastErrorText(u"The file would be replaced by what is played from it");
    return console.failure(line.target.shown), exitFailed;
  }
  Run run{line, console, settings};
  Collection collection;
  if (!openAll(run, collection)) return run.failureStatus();
  if (!saveDocument(run, collection, row, line.items)) {
    // What was lost in opening often is the cause.
    if (line.report == ReportOutput::standardError && !run.report.entries().empty())
      console.err(reportText(run.report));
    if (!run.host.cancelled()) saveReport(run.report, line);
    return run.failureStatus();
  }
  run.host.endProgress();
  if (!outputReport(run.report, line, console)) return console.failure(line.reportFile.shown), exitFailed;
  return exitDone;
}

}  // namespace tervo::cli
