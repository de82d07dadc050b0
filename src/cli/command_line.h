#pragma once
// What the user typed, taken apart. Wrong usage is found here, before anything is opened.

#include <optional>
#include <string>
#include <vector>

#include "base/text.h"
#include "formats/format_table.h"
#include "tools/operation.h"

namespace tervo::cli {

enum class Command {
  detect,
  info,
  convert,
  render,
  play,
  devices,
  process,
  processList,
  batch,
  formats,
  settingsList,
  settingsGet,
  settingsSet,
  stateSave,
  stateLoad,
  stateList
};

enum class ReportOutput { none, standardError, file };

/// A file as the user named it, and where that is: opening a file may move to its folder.
struct NamedFile {
  Text shown;
  Text path;  ///< absolute

  bool operator==(const NamedFile&) const = default;
};

/// How songs are rendered; what is not said comes from the settings.
struct RenderRequest {
  std::vector<NamedFile> banks;
  std::optional<int> voices;
  std::optional<bool> normalise;
  bool noEffects = false;
  bool usesSinc = false;  ///< to interpolate, in place of the cubic
  std::optional<double> tailSeconds;
  int threads = 0;  ///< 0: as many as there are processors
};

/// What is played where.
struct PlayRequest {
  std::optional<Text> device;
  std::optional<double> seconds;                      ///< no longer than that, whatever sounds
  std::vector<std::vector<uint8_t>> chords = {{60}};  ///< keys of an instrument, one chord after another
  int velocity = 100;
  std::optional<Text> midiIn;   ///< the port whose keyboard plays the instrument
  std::optional<Text> midiOut;  ///< the port that a song is sent to
};

/// Many files.
struct BatchArguments {
  std::vector<Text> rows;  ///< as they were named, several joined by commas
  NamedFile folder;
  int workers = 0;  ///< 0: one a processor
  double stallSeconds = 600;
  bool dryRun = false;
  bool resume = false;
};

struct CommandLine {
  Command command = Command::formats;
  std::vector<NamedFile> files;
  NamedFile target;
  bool json = false;
  bool quiet = false;
  bool noProgress = false;
  bool overwrite = false;
  bool forceRaw = false;
  bool rawModel = false;  ///< items as their codec made them
  std::optional<Text> format;
  std::vector<Text> items;    ///< "KIND:N"
  std::vector<Text> answers;  ///< "yes", "no", "TEXT=BUTTON" or "TEXT=FILE"
  std::vector<Text> sets;     ///< "KEY=VALUE", for this run
  ReportOutput report = ReportOutput::none;
  NamedFile reportFile;
  SaveOptions save;
  RawRequest raw;
  RenderRequest rendering;
  PlayRequest playing;
  BatchArguments batch;
  bool progressLines = false;  ///< progress for the program that started this one, a line each: "42 %"
  const Operation* operation = nullptr;
  std::vector<std::pair<TextView, Text>> operationOptions;  ///< name and value, as far as they were given
  Text settingKey;
  Text settingValue;
};

struct Parsed {
  std::optional<CommandLine> commandLine;
  /// Without a command line: what to print (help and version to standard output) and how to exit.
  std::string output;
  std::string error;
  int exitStatus = 0;
};

Parsed parseCommandLine(const std::vector<Text>& arguments);

}  // namespace tervo::cli
