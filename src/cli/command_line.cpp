#include "cli/command_line.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <functional>
#include <map>
#include <sstream>

#include "base/last_error.h"
#include "cli/console.h"
#include "cli/selection.h"
#include "platform/audio_device.h"
#include "platform/path.h"

namespace tervo::cli {
namespace {

constexpr const char* footer =
    "\"tervo COMMAND --help\" shows the options of a command.\n"
    "Exit status: 0 done; 1 at least one operation failed; 2 wrong usage; 130 cancelled.\n";

constexpr const char* versionText = "tervo 12.9.0 (Tervo Studio)";

// CLI11 works on 8-bit strings; what it collects is turned into a CommandLine afterwards.
struct Collected {
  std::vector<std::string> files, items, answers, sets, banks;
  std::map<const OptionInfo*, std::string> operationOptions;
  std::string target, format, coding, report, key, value, rawFormat, rawOrder, device, notes, midiIn, midiOut;
  double rate = 0;
  int channels = 0;
  std::optional<double> rawRate;
  std::optional<int> rawChannels;
  std::optional<uint64_t> rawOffset;
  bool rawUnsigned = false, reportWanted = false, listWanted = false, normalise = false, noNormalise = false;
};

std::optional<SampleCoding> codingNamed(const std::string& name) {
  for (int i = 0; i <= static_cast<int>(SampleCoding::compressed320); ++i) {
    const auto coding = static_cast<SampleCoding>(i);
    if (equalNoCase(nameOf(coding), fromUtf8(name))) return coding;
  }
  return std::nullopt;
}

/// A format that a writer may take and that no coding stands for.
std::optional<SampleFormat> writtenFormatNamed(const std::string& name) {
  for (int i = 0; i <= static_cast<int>(SampleFormat::adpcm5); ++i) {
    const auto format = static_cast<SampleFormat>(i);
    if (equalNoCase(nameOf(format), fromUtf8(name))) return format;
  }
  return std::nullopt;
}

/// Whether bytes without a header can be read in this format.
bool suitsRawData(SampleFormat format) {
  return format <= SampleFormat::aLaw || format == SampleFormat::deltaPcm8 || format == SampleFormat::deltaPcm16;
}

std::optional<SampleFormat> rawFormatNamed(const std::string& name) {
  for (int i = 0; i < static_cast<int>(SampleFormat::none); ++i) {
    const auto format = static_cast<SampleFormat>(i);
    if (suitsRawData(format) && equalNoCase(nameOf(format), fromUtf8(name))) return format;
  }
  return std::nullopt;
}

/// The names of the values up to `last`, for a message.
template <typename Value>
std::string namesUpTo(Value last) {
  std::string names;
  for (int i = 0; i <= static_cast<int>(last); ++i)
    names += (i > 0 ? ", " : "") + toUtf8(nameOf(static_cast<Value>(i)));
  return names;
}

// Each check says what is wrong with a value, or nothing.
std::string checkCoding(const std::string& name) {
  if (name == "auto" || codingNamed(name) || writtenFormatNamed(name)) return {};
  return fmt::format("\"{}\" is no sample coding; there are auto, {}, {} to {}", name, namesUpTo(SampleFormat::adpcm5),
                     toUtf8(nameOf(SampleCoding::compressed32)), toUtf8(nameOf(SampleCoding::compressed320)));
}

std::string checkRawFormat(const std::string& name) {
  if (rawFormatNamed(name)) return {};
  return fmt::format("\"{}\" is no format of raw data; there are {}", name, namesUpTo(SampleFormat::aLaw));
}

std::string checkFileName(const std::string& name) {
  return name.empty() ? "the name of a file cannot be empty" : std::string();
}

std::string checkItem(const std::string& name) {
  if (itemNamed(fromUtf8(name))) return {};
  return fmt::format("\"{}\" is no item; waveform:0, instrument:3 and song:0 are", name);
}

/// A check that the help text does not mention: it says what to give in words.
CLI::Validator unmentioned(CLI::Validator check) {
  return check.description("");
}

void addCommonOptions(CLI::App& app, CommandLine& line, Collected& got) {
  app.add_flag("--json", line.json, "one JSON document on standard output");
  app.add_flag("--quiet", line.quiet, "less on standard error");
  app.add_flag("--no-progress", line.noProgress, "no progress, even on a terminal");
  app.add_option("--set", got.sets, "a setting for this run only")->type_name("KEY=VALUE")->expected(1)->take_all();
}

void addFiles(CLI::App& app, Collected& got, const char* description) {
  app.add_option("FILE", got.files, description)->required()->type_name("")->check(checkFileName);
}

void addReadOptions(CLI::App& app, CommandLine& line, Collected& got) {
  app.add_flag("--force-raw", line.forceRaw, "read an undetected file as raw data");
  app.add_option("--raw-format", got.rawFormat, "raw data: sample format, e.g. \"PCM 16-bit\"")
      ->type_name("NAME")
      ->check(checkRawFormat);
  app.add_option("--raw-channels", got.rawChannels, "raw data: channels")
      ->type_name("1|2")
      ->check(unmentioned(CLI::Range(1, 2)));
  app.add_option("--raw-rate", got.rawRate, "raw data: sample rate, 1 to 768000 Hz")
      ->type_name("HZ")
      ->check(unmentioned(CLI::Range(1.0, 768000.0)));
  app.add_option("--raw-order", got.rawOrder, "raw data: byte order")
      ->type_name("little|big")
      ->check(unmentioned(CLI::IsMember({"little", "big"})));
  app.add_flag("--raw-unsigned", got.rawUnsigned, "raw data: integers are unsigned");
  app.add_option("--raw-offset", got.rawOffset, "raw data: bytes to skip")->type_name("BYTES");
  app.add_option("--answer", got.answers, "answers a question in advance")
      ->type_name("yes|no|TEXT=BUTTON|TEXT=FILE")
      ->expected(1)
      ->take_all();
}

void addWriteOptions(CLI::App& app, CommandLine& line, Collected& got) {
  app.add_option("-o,--output", got.target, "the file to write")->type_name("TARGET")->required()->check(checkFileName);
  app.add_option("--format", got.format, "target row: index, extension or description")->type_name("ROW");
  app.add_option("--coding", got.coding, "sample coding to save in, or auto")->type_name("NAME")->check(checkCoding);
  app.add_option("--rate", got.rate, "convert the sample rate, 1 to 768000 Hz")
      ->type_name("HZ")
      ->check(unmentioned(CLI::Range(1.0, 768000.0)));
  app.add_option("--channels", got.channels, "convert the channel count")
      ->type_name("1|2")
      ->check(unmentioned(CLI::Range(1, 2)));
  app.add_option("--item", got.items,
                 "save this item (may be repeated), counted from 0: waveform:0, instrument:3, song:0")
      ->type_name("KIND:N")
      ->expected(1)
      ->take_all()
      ->check(checkItem);
  app.add_flag("--report", got.reportWanted, "say what was lost, on standard error; --report=FILE: in a file");
  app.add_option("--report-file", got.report)->group("");
  app.add_flag("--overwrite", line.overwrite, "allow replacing an existing target");
}

void addRenderOptions(CLI::App& app, CommandLine& line, Collected& got) {
  app.add_option("--bank", got.banks, "songs: a file with instruments, else the default GM collection")
      ->type_name("FILE")
      ->expected(1)
      ->take_all()
      ->check(checkFileName);
  app.add_option("--voices", line.rendering.voices, "songs: voices that may sound at once, 1 to 4096")
      ->type_name("N")
      ->check(unmentioned(CLI::Range(1, 4096)));
  app.add_flag("--no-effects", line.rendering.noEffects, "songs: without reverb and chorus");
  app.add_flag("--normalise", got.normalise, "songs: bring the peak to full scale");
  app.add_flag("--no-normalise", got.noNormalise, "songs: leave the level as it is")->excludes("--normalise");
  app.add_option("--tail", line.rendering.tailSeconds, "songs: seconds behind the last event, else until it is silent")
      ->type_name("SECONDS")
      ->check(unmentioned(CLI::Range(0.0, 3600.0)));
  app.add_option("--threads", line.rendering.threads, "songs: threads that render, else one a processor")
      ->type_name("N")
      ->check(unmentioned(CLI::Range(1, 256)));
}

/// Chords one after another, the keys of a chord joined: "60,64,60+64+67". Nothing when it is none of that.
std::optional<std::vector<std::vector<uint8_t>>> chordsIn(const std::string& text) {
  std::vector<std::vector<uint8_t>> chords(1);
  const char* at = text.data();
  const char* const end = at + text.size();
  for (;;) {
    uint8_t key = 0;
    const auto parsed = std::from_chars(at, end, key);
    if (parsed.ec != std::errc() || key > 127) return std::nullopt;
    chords.back().push_back(key);
    at = parsed.ptr;
    if (at == end) return chords;
    if (*at == ',') chords.emplace_back();
    if (*at != ',' && *at != '+') return std::nullopt;
    ++at;
  }
}

std::string checkNotes(const std::string& text) {
  if (chordsIn(text)) return {};
  return fmt::format("\"{}\" are no keys; 60,64,60+64+67 are", text);
}

void addPlayOptions(CLI::App& app, CommandLine& line, Collected& got) {
  app.add_option("--device", got.device,
                 "where to play: a name that \"tervo devices\" shows, \"null\" or \"file:PATH\"")
      ->type_name("NAME");
  app.add_option("--item", got.items, "play one item, counted from 0: waveform:0, instrument:3, song:0")
      ->type_name("KIND:N")
      ->expected(1)
      ->check(checkItem);
  app.add_option("--seconds", line.playing.seconds, "no longer than that")
      ->type_name("S")
      ->check(unmentioned(CLI::Range(0.001, 86400.0)));
  app.add_option("--notes", got.notes, "instruments: keys one after another, chords joined by +")
      ->type_name("KEYS")
      ->check(unmentioned(CLI::Validator(checkNotes, "")));
  app.add_option("--velocity", line.playing.velocity, "instruments: how hard the keys are pressed, 1 to 127")
      ->type_name("N")
      ->check(unmentioned(CLI::Range(1, 127)));
  app.add_option("--midi-in", got.midiIn, "instruments: played from this MIDI port")->type_name("PORT");
  app.add_option("--midi-out", got.midiOut, "songs: sent to this MIDI port")->type_name("PORT");
}

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

void addProcessCommands(CLI::App& app, CommandLine& line, Collected& got) {
  CLI::App* process = app.add_subcommand("process", "change items of a file, save as TARGET")->group("Commands");
  process->add_flag("--list", got.listWanted, "every operation with its options");
  addCommonOptions(*process, line, got);
  for (const Operation& operation : Operations()) {
    CLI::App* sub = process->add_subcommand(toUtf8(operation.name), toUtf8(operation.text))->group("Operations");
    addFiles(*sub, got, "the file to open");
    addOperationOptions(*sub, operation, got);
    addReadOptions(*sub, line, got);
    addWriteOptions(*sub, line, got);
    addCommonOptions(*sub, line, got);
    sub->callback([&line, &got, &operation] {
      if (got.files.size() > 1) throw CLI::ExtrasError(std::vector(got.files.begin() + 1, got.files.end()));
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

CLI::App* addSettingsCommands(CLI::App& app, CommandLine& line, Collected& got) {
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
  return settings;
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
  std::string words;                   ///< each with a space behind it
  std::optional<std::string> unknown;  ///< the word that should be a command and is none
};

NamedCommand commandNamed(const CLI::App& app, const std::vector<Text>& arguments) {
  NamedCommand named;
  const CLI::App* command = &app;
  for (const Text& argument : arguments) {
    const std::string word = printable(argument);
    const auto commands = command->get_subcommands([](const CLI::App*) { return true; });
    if (commands.empty() || word.starts_with('-')) return named;
    const auto found =
        std::find_if(commands.begin(), commands.end(), [&](const CLI::App* each) { return each->get_name() == word; });
    if (found == commands.end()) {
      named.unknown = word;
      return named;
    }
    command = *found;
    named.words += word + " ";
  }
  return named;
}

std::string usageError(const CLI::App& app, const CLI::ParseError& error, const std::vector<Text>& arguments) {
  std::string message = error.what();
  const auto [words, unknown] = commandNamed(app, arguments);
  if (unknown)
    message = fmt::format("there is no command \"{}{}\"", words, *unknown);
  else if (words.empty() && error.get_name() == "RequiredError")
    message = "a command is required";
  return fmt::format("tervo: {}\nRun \"tervo {}--help\" to see what there is.\n", message, words);
}

std::vector<Text> texts(const std::vector<std::string>& strings) {
  std::vector<Text> result;
  for (const std::string& each : strings) result.push_back(fromPathBytes(each));
  return result;
}

NamedFile named(const std::string& file) {
  const Text shown = fromPathBytes(file);
  return {shown, shown.empty() ? Text() : platform::absolute(shown)};
}

/// A device or port. One that is a file is where it was named, as opening a file may move to its folder.
std::optional<Text> deviceNamed(const std::string& name) {
  if (name.empty()) return std::nullopt;
  const Text text = fromPathBytes(name);
  constexpr TextView prefix = platform::fileDevicePrefix;
  return text.starts_with(prefix) ? Text(prefix) + platform::absolute(text.substr(prefix.size())) : text;
}

RawRequest rawRequest(const Collected& got) {
  RawRequest raw;
  if (!got.rawFormat.empty()) raw.format = rawFormatNamed(got.rawFormat);
  if (!got.rawOrder.empty()) raw.byteOrder = got.rawOrder == "big" ? ByteOrder::big : ByteOrder::little;
  raw.isUnsigned = got.rawUnsigned;
  raw.channels = got.rawChannels;
  raw.sampleRate = got.rawRate;
  raw.offset = got.rawOffset.value_or(0);
  return raw;
}

void complete(CommandLine& line, const Collected& got) {
  for (const std::string& file : got.files) line.files.push_back(named(file));
  line.items = texts(got.items);
  line.answers = texts(got.answers);
  line.sets = texts(got.sets);
  line.target = named(got.target);
  line.settingKey = fromPathBytes(got.key);
  line.settingValue = fromPathBytes(got.value);
  line.raw = rawRequest(got);
  if (!got.format.empty()) line.format = fromPathBytes(got.format);
  line.save.coding = codingNamed(got.coding);
  if (!line.save.coding) line.save.format = writtenFormatNamed(got.coding);
  if (got.rate > 0) line.save.sampleRate = got.rate;
  if (got.channels > 0) line.save.channels = got.channels;
  line.playing.device = deviceNamed(got.device);
  line.playing.midiIn = deviceNamed(got.midiIn);
  line.playing.midiOut = deviceNamed(got.midiOut);
  if (!got.notes.empty()) line.playing.chords = chordsIn(got.notes).value_or(line.playing.chords);
  for (const std::string& bank : got.banks) line.rendering.banks.push_back(named(bank));
  if (got.normalise || got.noNormalise) line.rendering.normalise = got.normalise;
  for (const auto& [option, value] : got.operationOptions) {
    if (!value.empty()) line.operationOptions.emplace_back(option->name, fromUtf8(value));
  }
  if (got.reportWanted) line.report = ReportOutput::standardError;
  if (!got.report.empty()) line.report = ReportOutput::file, line.reportFile = named(got.report);
}

}  // namespace

Parsed parseCommandLine(const std::vector<Text>& arguments) {
  CommandLine line;
  Collected got;
  CLI::App app("Opens, converts and saves audio files, sampler instruments and MIDI songs.", "tervo");
  app.set_version_flag("--version", versionText);
  app.require_subcommand(1);
  app.get_formatter()->column_width(36);
  app.get_formatter()->label("SUBCOMMAND", "COMMAND");
  app.footer(footer);

  const auto command = [&](const char* name, const char* description, Command value) {
    CLI::App* sub = app.add_subcommand(name, description)->group("Commands");
    sub->callback([&line, value] { line.command = value; });
    addCommonOptions(*sub, line, got);
    return sub;
  };
  addFiles(*command("detect", "the format of each file and the confidence", Command::detect), got, "files to look at");
  CLI::App* info = command("info", "what is inside each file", Command::info);
  addFiles(*info, got, "files to look into");
  addReadOptions(*info, line, got);
  info->add_flag("--raw-model", line.rawModel, "as it was read, before the load-time normalisation");
  CLI::App* convert = command("convert", "open the first file, merge the others, save as TARGET", Command::convert);
  addFiles(*convert, got, "the file to open, and those to merge with it");
  addReadOptions(*convert, line, got);
  addWriteOptions(*convert, line, got);
  addRenderOptions(*convert, line, got);
  CLI::App* render = command("render", "render a song, save as TARGET", Command::render);
  addFiles(*render, got, "the song, and files to merge with it");
  addReadOptions(*render, line, got);
  addWriteOptions(*render, line, got);
  addRenderOptions(*render, line, got);
  CLI::App* play = command("play", "play a waveform, an instrument or a song", Command::play);
  addFiles(*play, got, "what to play, and files to merge with it");
  addPlayOptions(*play, line, got);
  addReadOptions(*play, line, got);
  addRenderOptions(*play, line, got);
  command("devices", "audio outputs and MIDI ports", Command::devices);
  addProcessCommands(app, line, got);
  command("formats", "the format table", Command::formats);
  addSettingsCommands(app, line, got);
  addStateCommands(app, line, got);

  auto strings = prepared(arguments);
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
