#include "cli/arguments/arguments.h"

namespace tervo::cli {

void addSettingsCommands(CLI::App& app, CommandLine& line, Collected& got) {
  CLI::App* settings = app.add_subcommand("settings", "list, read and write the settings")->group("Commands");
  settings->require_subcommand(1);
  CLI::App* list = settings->add_subcommand("list", "every key with its value");
  list->callback([&line] { line.command = Command::settingsList; });
  CLI::App* get = settings->add_subcommand("get", "one value");
  get->add_option("KEY", got.key, "its name, as listed")->required()->type_name("");
  get->callback([&line] { line.command = Command::settingsGet; });
  CLI::App* set = settings->add_subcommand("set", "write one value");
  set->add_option("KEY", got.key, "its name, as listed")->required()->type_name("");
  set->add_option("VALUE", got.value, "what it is to be")->required()->type_name("");
  set->callback([&line] { line.command = Command::settingsSet; });
  for (CLI::App* each : {list, get, set}) addCommonOptions(*each, line, got);
}

void addStateCommands(CLI::App& app, CommandLine& line, Collected& got) {
  CLI::App* state = app.add_subcommand("state", "program-state files: whole documents")->group("Commands");
  state->require_subcommand(1);
  CLI::App* save = state->add_subcommand("save", "open the first file, merge the others, save the document as a state");
  save->callback([&line] { line.command = Command::stateSave; });
  addFiles(*save, got, "the file to open, and those to merge with it");
  addReadOptions(*save, line, got);
  save->add_option("-o,--output", got.target, "the state file; without it a saved state of the user")
      ->type_name("STATE")
      ->check(checkFileName);
  save->add_flag("--overwrite", line.overwrite, "allow replacing an existing target");
  CLI::App* load = state->add_subcommand("load", "what is inside a state file; with -o the document saved as TARGET");
  load->callback([&line] { line.command = Command::stateLoad; });
  load->add_option("STATE", got.files, "the state file")->required()->expected(1)->type_name("")->check(checkFileName);
  addWriteOptions(*load, line, got);
  load->get_option("--output")->required(false);
  CLI::App* list = state->add_subcommand("list", "versions and records of state files; without one the user's states");
  list->callback([&line] { line.command = Command::stateList; });
  list->add_option("STATE", got.files, "state files")->type_name("")->check(checkFileName);
  for (CLI::App* each : {save, load, list}) addCommonOptions(*each, line, got);
}

}  // namespace tervo::cli
