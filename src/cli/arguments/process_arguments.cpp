#include <fmt/format.h>

#include "base/last_error.h"
#include "cli/arguments/arguments.h"

namespace tervo::cli {
namespace {

void addOperationOptions(CLI::App& app, const Operation& operation, Collected& got) {
  for (const OptionInfo& option : operation.options) {
    const auto check = [&option](const std::string& value) {
      return parseOption(option, fromUtf8(value)) ? std::string() : toUtf8(LastErrorText());
    };
    const std::string range = toUtf8(rangeText(option)), usual = toUtf8(usualText(option));
    std::string text = toUtf8(option.text);
    if (!usual.empty()) text += fmt::format(" (else {})", usual);
    app.add_option("--" + toUtf8(option.name), got.operationOptions[&option], text)->type_name(range)->check(check);
  }
}

}  // namespace

void addProcessCommands(CLI::App& app, CommandLine& line, Collected& got) {
  CLI::App* process = app.add_subcommand("process", "change items of a file, save as TARGET")->group("Commands");
  process->add_flag("--list", got.listWanted, "every operation with its options");
  addCommonOptions(*process, line, got);
  for (const Operation& operation : Operations()) {
    CLI::App* sub = process->add_subcommand(toUtf8(operation.name), toUtf8(operation.text))->group("Operations");
    // All options of all operations would take longer than most commands.
    if (!got.words.contains(toUtf8(operation.name))) continue;
    addFile(*sub, got, "the file to open");
    addOperationOptions(*sub, operation, got);
    addReadOptions(*sub, line, got);
    addWriteOptions(*sub, line, got);
    sub->get_option("--item")->description(
        "work on this item (may be repeated), counted from 0: waveform:0, song:0, or instrument:3 for all that "
        "it plays; what else the file holds is saved with it where TARGET can hold it");
    addCommonOptions(*sub, line, got);
    sub->callback([&line, &operation] {
      line.command = Command::process;
      line.operation = &operation;
    });
  }
  process->callback([&line, &got, process] {
    if (!process->get_subcommands().empty()) return;
    if (!got.listWanted) throw CLI::RequiredError("OPERATION or --list");
    line.command = Command::processList;
  });
}

void completeProcess(CommandLine& line, const Collected& got) {
  for (const auto& [option, value] : got.operationOptions) {
    if (!value.empty()) line.operationOptions.emplace_back(option->name, fromUtf8(value));
  }
}

}  // namespace tervo::cli
