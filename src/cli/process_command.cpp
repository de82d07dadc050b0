#include <fmt/format.h>

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

/// The items of the operation's kind: those that "--item" names, without it all. None where one is not there.
std::vector<Item*> itemsToProcess(const CommandLine& line, const Collection& collection) {
  std::vector<Item*> items;
  const auto add = [&](ItemKind kind, const auto& list) {
    if (kind != line.operation->kind) return;
    for (const auto& item : list) items.push_back(item.get());
  };
  add(ItemKind::waveform, collection.waveforms());
  add(ItemKind::instrument, collection.instruments());
  add(ItemKind::song, collection.songs());
  if (line.items.empty()) return items;
  std::vector<Item*> named;
  for (const Text& text : line.items) {
    const auto name = itemNamed(text);
    const bool isThere = name && name->kind == line.operation->kind && name->index < items.size();
    if (!isThere) return {};
    named.push_back(items[name->index]);
  }
  return named;
}

bool process(Run& run, const Collection& collection) {
  const Operation& operation = *run.line.operation;
  OptionValues values(operation.options);
  for (const auto& [name, value] : run.line.operationOptions) {
    if (!values.set(name, value)) return false;
  }
  const auto items = itemsToProcess(run.line, collection);
  if (items.empty()) return fail(u"There is no " + Text(nameOf(operation.kind)) + u" to process");
  return RunOperation(operation, items, values, {run.host, run.report}) != Outcome::failed;
}

}  // namespace

int runProcess(const CommandLine& line, Console& console, const Settings& settings) {
  if (reportHidesAFile(line)) return console.failure(line.reportFile.shown), exitWrongUsage;
  Text hint;
  const FormatIndex row = chosenRow(line, hint);
  if (row == noFormat) return console.failure(line.target.shown, hint), exitFailed;
  Run run{line, console, settings};
  Collection collection;
  if (!openAll(run, collection)) return run.failureStatus();
  if (!process(run, collection)) {
    run.host.endProgress();
    console.failure(line.files.front().shown);
    return run.failureStatus();
  }
  if (!saveDocument(run, collection, row)) return run.failureStatus();
  run.host.endProgress();
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
