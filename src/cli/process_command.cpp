#include <fmt/format.h>

#include <algorithm>

#include "base/last_error.h"
#include "cli/commands.h"
#include "cli/document_json.h"
#include "cli/opening.h"
#include "cli/report_output.h"
#include "cli/saving.h"
#include "cli/selection.h"

namespace tervo::cli {
namespace {

constexpr const char* typeNames[] = {"integer", "number", "flag", "choice", "choices"};

nlohmann::ordered_json optionJson(const OptionInfo& option) {
  nlohmann::ordered_json object = {{"name", utf8(option.name)},
                                   {"title", utf8(option.title)},
                                   {"type", typeNames[static_cast<std::size_t>(option.type)]},
                                   {"default", utf8(usualText(option))},
                                   {"text", utf8(option.text)}};
  if (option.choices.empty()) {
    object["lowest"] = option.lowest;
    object["highest"] = option.highest;
  }
  for (const TextView choice : option.choices) object["choices"].push_back(utf8(choice));
  return object;
}

nlohmann::ordered_json operationJson(const Operation& operation) {
  nlohmann::ordered_json options = nlohmann::ordered_json::array();
  for (const OptionInfo& option : operation.options) options.push_back(optionJson(option));
  return {{"name", utf8(operation.name)},
          {"title", utf8(operation.title)},
          {"kind", utf8(nameOf(operation.kind))},
          {"text", utf8(operation.text)},
          {"options", std::move(options)}};
}

std::string operationText(const Operation& operation) {
  std::string text =
      fmt::format("{} ({}): {}\n", utf8(operation.name), utf8(nameOf(operation.kind)), utf8(operation.text));
  for (const OptionInfo& option : operation.options) {
    const std::string usual = utf8(usualText(option));
    text += fmt::format("  --{} {}: {}", utf8(option.name), utf8(rangeText(option)), utf8(option.text));
    text += usual.empty() ? "\n" : fmt::format(" (else {})\n", usual);
  }
  return text;
}

template <typename List>
std::vector<Item*> all(const List& list) {
  std::vector<Item*> items;
  for (const auto& item : list) items.push_back(item.get());
  return items;
}

std::vector<Item*> waveformsOf(const Instrument& instrument) {
  std::vector<Item*> items;
  for (const auto& layer : instrument.layers()) {
    for (const auto& region : layer->regions())
      if (Item* waveform = findItem<Waveform>(region->waveform)) items.push_back(waveform);
  }
  return items;
}

/// What an operation on items of a kind is to work on where an item is named.
std::vector<Item*> meantBy(Item& item, ItemKind kind) {
  if (item.kind() == kind) return {&item};
  const bool isPlayed = item.kind() == ItemKind::instrument && kind == ItemKind::waveform;
  return isPlayed ? waveformsOf(static_cast<const Instrument&>(item)) : std::vector<Item*>();
}

/// The items of the operation's kind: those that "--item" names, without it all. None with LastErrorText and a hint.
std::vector<Item*> itemsToProcess(const CommandLine& line, const Collection& collection, Text& hint) {
  const ItemKind kind = line.operation->kind;
  std::vector<Item*> items;
  if (line.items.empty()) items = kind == ItemKind::song ? all(collection.songs()) : all(collection.waveforms());
  const auto named = namedItems(line.items, collection, hint);
  if (named.empty() && !line.items.empty()) return {};
  for (Item* item : named) {
    for (Item* each : meantBy(*item, kind))
      if (std::find(items.begin(), items.end(), each) == items.end()) items.push_back(each);
  }
  if (items.empty()) setLastErrorText(u"There is no " + Text(nameOf(kind)) + u" to process");
  return items;
}

bool process(Run& run, const Collection& collection, Text& summary, Text& hint) {
  const Operation& operation = *run.line.operation;
  OptionValues values(operation.options);
  for (const auto& [name, value] : run.line.operationOptions) {
    if (!values.set(name, value)) return false;
  }
  const auto items = itemsToProcess(run.line, collection, hint);
  if (items.empty()) return false;
  run.host.keepSummary(&summary);
  const Outcome outcome = RunOperation(operation, items, values, {run.host, run.report});
  run.host.keepSummary(nullptr);
  return outcome != Outcome::failed;
}

/// Whether the report is what an option asks for, and nothing says where it is to go.
bool asksForReport(const CommandLine& line) {
  if (line.json || line.report != ReportOutput::none) return false;
  const auto& options = line.operation->options;
  return std::any_of(options.begin(), options.end(), [&](const OptionInfo& option) {
    const auto isIt = [&](const auto& given) { return given.first == option.name; };
    return option.isAnsweredByReport && std::any_of(line.operationOptions.begin(), line.operationOptions.end(), isIt);
  });
}

/// "--item" says what is worked on. The rest of the document goes with it where the row can hold that.
std::vector<Text> namesToSave(const CommandLine& line, FormatIndex row) {
  return rowAt(row)->kindMask & kindBit(ItemKind::collection) ? std::vector<Text>() : line.items;
}

}  // namespace

int runProcess(const CommandLine& line, Console& console, const Settings& settings) {
  if (reportHidesAFile(line, settings)) return console.failure(line.reportFile.shown), exitWrongUsage;
  Text hint;
  const FormatIndex row = chosenRow(line, hint);
  if (row == noFormat) return console.failure(line.target.shown, hint), exitFailed;
  Run run{line, console, settings};
  Collection collection;
  if (!openAll(run, collection)) return run.failureStatus();
  Text summary;
  if (!process(run, collection, summary, hint)) {
    run.host.endProgress();
    console.failure(line.files.front().shown, hint);
    return run.failureStatus();
  }
  if (!saveDocument(run, collection, row, namesToSave(line, row))) return run.failureStatus();
  run.host.endProgress();
  if (!line.quiet) console.err(printable(summary) + "\n");
  if (asksForReport(line)) console.err(reportText(run.report));
  if (!outputReport(run.report, line, console)) return console.failure(line.reportFile.shown), exitFailed;
  return exitDone;
}

int runProcessList(const CommandLine& line, Console& console) {
  nlohmann::ordered_json all = nlohmann::ordered_json::array();
  std::string text;
  for (const Operation& operation : Operations()) {
    all.push_back(operationJson(operation));
    text += operationText(operation);
  }
  console.out(line.json ? dumped(all) : text);
  return exitDone;
}

}  // namespace tervo::cli
