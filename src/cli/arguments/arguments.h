#pragma once
// How the command line is declared to CLI11: what it collects, the options that several commands share, and the
// commands that have a source of their own.

#include <CLI/CLI.hpp>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "cli/command_line.h"

namespace tervo::cli {

/// CLI11 works on 8-bit strings; what it collects is turned into a CommandLine when everything has been parsed.
struct Collected {
  std::set<std::string> words;  ///< all arguments, before they are parsed
  std::vector<std::string> files, items, answers, sets, banks, rows;
  std::map<const OptionInfo*, std::string> operationOptions;
  std::string target, folder, format, coding, report, key, value, rawFormat, rawOrder, device, notes, midiIn, midiOut,
      interpolation;
  double rate = 0;
  int channels = 0;
  std::optional<double> rawRate;
  std::optional<int> rawChannels;
  std::optional<uint64_t> rawOffset;
  std::optional<uint64_t> rawLength;
  bool rawUnsigned = false, reportWanted = false, listWanted = false, normalise = false, noNormalise = false;
};

// Shared options.
void addCommonOptions(CLI::App& app, CommandLine& line, Collected& got);
void addFile(CLI::App& app, Collected& got, const char* description);
void addFiles(CLI::App& app, Collected& got, const char* description);
void addReadOptions(CLI::App& app, CommandLine& line, Collected& got);
/// The target, and what addSaveOptions() has.
void addWriteOptions(CLI::App& app, CommandLine& line, Collected& got);
void addSaveOptions(CLI::App& app, CommandLine& line, Collected& got);
void addReportOptions(CLI::App& app, Collected& got);
void addRenderOptions(CLI::App& app, CommandLine& line, Collected& got);
/// For what becomes a file of its own.
void addLevelOptions(CLI::App& app, Collected& got);
void completeShared(CommandLine& line, const Collected& got);

// Commands.
void addPlayCommand(CLI::App& app, CommandLine& line, Collected& got);
void completePlay(CommandLine& line, const Collected& got);
void addBatchCommand(CLI::App& app, CommandLine& line, Collected& got);
void completeBatch(CommandLine& line, const Collected& got);
void addProcessCommands(CLI::App& app, CommandLine& line, Collected& got);
void completeProcess(CommandLine& line, const Collected& got);
void addSettingsCommands(CLI::App& app, CommandLine& line, Collected& got);
void addStateCommands(CLI::App& app, CommandLine& line, Collected& got);

/// A command with the common options.
CLI::App* addCommand(CLI::App& app, CommandLine& line, Collected& got, const char* name, const char* description,
                     Command value);
std::vector<Text> texts(const std::vector<std::string>& strings);
NamedFile named(const std::string& file);
std::string checkFileName(const std::string& name);
std::string checkItem(const std::string& name);
/// A check that the help text does not mention: it says what to give in words.
CLI::Validator unmentioned(CLI::Validator check);
/// The same for a number in a range.
CLI::Validator between(int low, int high);
CLI::Validator between(double low, double high);

}  // namespace tervo::cli
