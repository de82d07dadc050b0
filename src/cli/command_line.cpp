#include "cli/command_line.h"

#include <fmt/format.h>

#include <algorithm>
#include <sstream>

#include "cli/arguments/arguments.h"
#include "cli/console.h"

namespace tervo::cli {
namespace {

constexpr const char* footer =
    "\"tervo COMMAND --help\" shows the options of a command.\n"
    "Exit status: 0 done; 1 at least one operation failed; 2 wrong usage; 130 cancelled.\n";

constexpr const char* versionText = "tervo 12.9.0 (Tervo Studio)";

// "--report=FILE" names a file, a bare "--report" does not and must leave the next argument alone.
std::vector<std::string> prepared(const std::vector<Text>& arguments) {
  std::vector<std::string> result;
  for (const Text& argument : arguments) {
    std::string bytes = toPathBytes(argument);
    constexpr std::string_view prefix = "--report=";
    if (bytes.starts_with(prefix)) bytes = "--report-file=" + bytes.substr(prefix.size());
    result.push_back(std::move(bytes));
  }
  return result;
}

void refuseEmptyReport(const std::vector<std::string>& arguments) {
  if (std::find(arguments.begin(), arguments.end(), "--report-file=") != arguments.end())
    throw CLI::ValidationError("--report=FILE", checkFileName(""));
}

/// The command that the first words name, as far as they do.
struct NamedCommand {
  const CLI::App* command;
  std::string words;                   ///< each with a space behind it
  std::optional<std::string> unknown;  ///< the word that should be a command and is none
};

NamedCommand commandNamed(const CLI::App& app, const std::vector<Text>& arguments) {
  NamedCommand named{&app, {}, {}};
  for (const Text& argument : arguments) {
    const std::string word = printable(argument);
    const auto commands = named.command->get_subcommands([](const CLI::App*) { return true; });
    if (commands.empty() || word.starts_with('-')) return named;
    const auto found =
        std::find_if(commands.begin(), commands.end(), [&](const CLI::App* each) { return each->get_name() == word; });
    if (found == commands.end()) {
      named.unknown = word;
      return named;
    }
    named.command = *found;
    named.words += word + " ";
  }
  return named;
}

/// An option that the command does not have: what follows it looks like one file too many.
std::optional<std::string> unknownOption(const CLI::App& command, const std::vector<Text>& arguments) {
  for (const Text& argument : arguments) {
    const std::string name = toUtf8(TextView(argument).substr(0, argument.find(u'=')));
    if (name.size() > 2 && name.starts_with("--") && !command.get_option_no_throw(name)) return name;
  }
  return std::nullopt;
}

std::string usageError(const CLI::App& app, const CLI::ParseError& error, const std::vector<Text>& arguments) {
  std::string message = error.what();
  const auto [command, words, unknown] = commandNamed(app, arguments);
  if (const auto twice = message.find(": At Most 1 required"); twice != std::string::npos) {
    const auto option = unknownOption(*command, arguments);
    message =
        option ? fmt::format("there is no option {}", *option) : message.substr(0, twice) + " may be given only once";
  }
  if (unknown)
    message = fmt::format("there is no command \"{}{}\"", words, *unknown);
  else if (words.empty() && error.get_name() == "RequiredError")
    message = "a command is required";
  return fmt::format("tervo: {}\nRun \"tervo {}--help\" to see what there is.\n", message, words);
}

/// A command that opens files and saves them as a target.
void addConversion(CLI::App& command, CommandLine& line, Collected& got, const char* files) {
  addFiles(command, got, files);
  addReadOptions(command, line, got);
  addWriteOptions(command, line, got);
  addRenderOptions(command, line, got);
  addLevelOptions(command, got);
}

void addCommands(CLI::App& app, CommandLine& line, Collected& got) {
  const auto command = [&](const char* name, const char* description, Command value) {
    return addCommand(app, line, got, name, description, value);
  };
  addFiles(*command("detect", "the format of each file and the confidence", Command::detect), got, "files to look at");
  CLI::App* info = command("info", "what is inside each file", Command::info);
  addFiles(*info, got, "files to look into");
  addReadOptions(*info, line, got);
  info->add_flag("--raw-model", line.rawModel, "as it was read, before the load-time normalisation");
  CLI::App* convert = command("convert", "open the first file, merge the others, save as TARGET", Command::convert);
  addConversion(*convert, line, got, "the file to open, and those to merge with it");
  convert->add_flag("--progress-lines", line.progressLines)->group("");
  addConversion(*command("render", "render a song, save as TARGET", Command::render), line, got,
                "the song, and files to merge with it");
  addPlayCommand(app, line, got);
  command("devices", "audio outputs and MIDI ports", Command::devices);
  addProcessCommands(app, line, got);
  addBatchCommand(app, line, got);
  command("formats", "the format table", Command::formats);
  addSettingsCommands(app, line, got);
  addStateCommands(app, line, got);
}

void complete(CommandLine& line, const Collected& got) {
  completeShared(line, got);
  completePlay(line, got);
  completeProcess(line, got);
  completeBatch(line, got);
}

}  // namespace

CLI::App* addCommand(CLI::App& app, CommandLine& line, Collected& got, const char* name, const char* description,
                     Command value) {
  CLI::App* sub = app.add_subcommand(name, description)->group("Commands");
  sub->callback([&line, value] { line.command = value; });
  addCommonOptions(*sub, line, got);
  return sub;
}

Parsed parseCommandLine(const std::vector<Text>& arguments) {
  CommandLine line;
  Collected got;
  CLI::App app("Opens, converts and saves audio files, sampler instruments and MIDI songs.", "tervo");
  app.set_version_flag("--version", versionText);
  app.require_subcommand(1);
  app.get_formatter()->column_width(36);
  app.get_formatter()->label("SUBCOMMAND", "COMMAND");
  app.footer(footer);
  auto strings = prepared(arguments);
  got.words.insert(strings.begin(), strings.end());
  addCommands(app, line, got);
  std::reverse(strings.begin(), strings.end());
  Parsed parsed;
  try {
    refuseEmptyReport(strings);
    app.parse(strings);
    complete(line, got);
    parsed.commandLine = std::move(line);
  } catch (const CLI::ParseError& error) {
    std::ostringstream out, err;
    const int status = app.exit(error, out, err);
    parsed = {std::nullopt, out.str(), status == 0 ? "" : usageError(app, error, arguments), status == 0 ? 0 : 2};
  }
  return parsed;
}

}  // namespace tervo::cli
