#include "cli/command_line.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <functional>
#include <map>
#include <sstream>

#include "platform/path.h"

namespace tervo::cli {
namespace {

constexpr const char* versionText = "tervo 12.9.0 (Tervo Studio)";

// CLI11 works on 8-bit strings; what it collects is turned into a CommandLine afterwards.
struct Collected {
  std::vector<std::string> files, answers, sets;
  std::string target, format, item, coding, report, key, value, rawFormat, rawOrder;
  double rate = 0;
  int channels = 0;
  std::optional<double> rawRate;
  std::optional<int> rawChannels;
  std::optional<uint64_t> rawOffset;
  bool rawUnsigned = false, reportWanted = false;
};

std::optional<SampleCoding> codingNamed(const std::string& name) {
  for (int i = 0; i <= static_cast<int>(SampleCoding::compressed320); ++i) {
    const auto coding = static_cast<SampleCoding>(i);
    if (equalNoCase(nameOf(coding), fromUtf8(name))) return coding;
  }
  return std::nullopt;
}

std::optional<SampleFormat> formatNamed(const std::string& name) {
  for (int i = 0; i < static_cast<int>(SampleFormat::none); ++i) {
    const auto format = static_cast<SampleFormat>(i);
    if (equalNoCase(nameOf(format), fromUtf8(name))) return format;
  }
  return std::nullopt;
}

std::string checkCoding(const std::string& name) {
  if (name == "auto" || codingNamed(name)) return {};
  return fmt::format("\"{}\" is no sample coding; \"PCM 24-bit\" is one", name);
}

std::string checkRawFormat(const std::string& name) {
  return formatNamed(name) ? std::string() : fmt::format("\"{}\" is no sample format; \"PCM 16-bit\" is one", name);
}

void addCommonOptions(CLI::App& app, CommandLine& line, Collected& got) {
  app.add_flag("--json", line.json, "one JSON document on standard output");
  app.add_flag("--quiet", line.quiet, "less on standard error");
  app.add_flag("--no-progress", line.noProgress, "no progress, even on a terminal");
  app.add_option("--set", got.sets, "a setting for this run only")->type_name("KEY=VALUE")->expected(1)->take_all();
}

void addReadOptions(CLI::App& app, CommandLine& line, Collected& got) {
  app.add_option("FILE", got.files)->required()->type_name("");
  app.add_flag("--force-raw", line.forceRaw, "read an undetected file as raw data");
  app.add_option("--raw-format", got.rawFormat, "raw data: sample format, e.g. \"PCM 16-bit\"")
      ->type_name("NAME")
      ->check(checkRawFormat);
  app.add_option("--raw-channels", got.rawChannels, "raw data: channels")->check(CLI::Range(1, 2));
  app.add_option("--raw-rate", got.rawRate, "raw data: sample rate in Hz")->check(CLI::Range(1.0, 768000.0));
  app.add_option("--raw-order", got.rawOrder, "raw data: byte order")->check(CLI::IsMember({"little", "big"}));
  app.add_flag("--raw-unsigned", got.rawUnsigned, "raw data: integers are unsigned");
  app.add_option("--raw-offset", got.rawOffset, "raw data: bytes to skip");
  app.add_option("--answer", got.answers, "answers a question in advance")
      ->type_name("yes|no|TEXT=BUTTON")
      ->expected(1)
      ->take_all();
}

void addWriteOptions(CLI::App& app, CommandLine& line, Collected& got) {
  app.add_option("-o,--output", got.target, "the file to write")->type_name("TARGET")->required();
  app.add_option("--format", got.format, "target row: index, extension or description")->type_name("ROW");
  app.add_option("--coding", got.coding, "sample coding to save in, or auto")->type_name("NAME")->check(checkCoding);
  app.add_option("--rate", got.rate, "convert the sample rate, Hz")->check(CLI::Range(1.0, 768000.0));
  app.add_option("--channels", got.channels, "convert the channel count")->check(CLI::Range(1, 2));
  app.add_option("--item", got.item, "save one item, counted from 0: waveform:0, instrument:3, song:0")
      ->type_name("KIND:N");
  app.add_flag("--report", got.reportWanted, "print the conversion report; --report=FILE writes it to a file");
  app.add_option("--report-file", got.report)->group("");
  app.add_flag("--overwrite", line.overwrite, "allow replacing an existing target");
}

CLI::App* addSettingsCommands(CLI::App& app, CommandLine& line, Collected& got) {
  CLI::App* settings = app.add_subcommand("settings", "list, read and write the settings");
  settings->require_subcommand(1);
  CLI::App* list = settings->add_subcommand("list", "every key with its value");
  list->callback([&line] { line.command = Command::settingsList; });
  CLI::App* get = settings->add_subcommand("get", "one value");
  get->add_option("KEY", got.key)->required()->type_name("");
  get->callback([&line] { line.command = Command::settingsGet; });
  CLI::App* set = settings->add_subcommand("set", "write one value");
  set->add_option("KEY", got.key)->required()->type_name("");
  set->add_option("VALUE", got.value)->required()->type_name("");
  set->callback([&line] { line.command = Command::settingsSet; });
  for (CLI::App* each : {list, get, set}) addCommonOptions(*each, line, got);
  return settings;
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

std::vector<Text> texts(const std::vector<std::string>& strings) {
  std::vector<Text> result;
  for (const std::string& each : strings) result.push_back(fromPathBytes(each));
  return result;
}

NamedFile named(const std::string& file) {
  const Text shown = fromPathBytes(file);
  return {shown, shown.empty() ? Text() : platform::absolute(shown)};
}

RawRequest rawRequest(const Collected& got) {
  RawRequest raw;
  if (!got.rawFormat.empty()) raw.format = formatNamed(got.rawFormat);
  if (!got.rawOrder.empty()) raw.byteOrder = got.rawOrder == "big" ? ByteOrder::big : ByteOrder::little;
  raw.isUnsigned = got.rawUnsigned;
  raw.channels = got.rawChannels;
  raw.sampleRate = got.rawRate;
  raw.offset = got.rawOffset.value_or(0);
  return raw;
}

void complete(CommandLine& line, const Collected& got) {
  for (const std::string& file : got.files) line.files.push_back(named(file));
  line.answers = texts(got.answers);
  line.sets = texts(got.sets);
  line.target = named(got.target);
  line.settingKey = fromPathBytes(got.key);
  line.settingValue = fromPathBytes(got.value);
  line.raw = rawRequest(got);
  if (!got.format.empty()) line.format = fromPathBytes(got.format);
  if (!got.item.empty()) line.item = fromPathBytes(got.item);
  if (!got.coding.empty() && got.coding != "auto") line.save.coding = codingNamed(got.coding);
  if (got.rate > 0) line.save.sampleRate = got.rate;
  if (got.channels > 0) line.save.channels = got.channels;
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

  const auto command = [&](const char* name, const char* description, Command value) {
    CLI::App* sub = app.add_subcommand(name, description);
    sub->callback([&line, value] { line.command = value; });
    addCommonOptions(*sub, line, got);
    return sub;
  };
  addReadOptions(*command("detect", "the format of each file and the confidence", Command::detect), line, got);
  CLI::App* info = command("info", "what is inside each file", Command::info);
  addReadOptions(*info, line, got);
  info->add_flag("--raw-model", line.rawModel, "as it was read, before the load-time normalisation");
  CLI::App* convert = command("convert", "open the first file, merge the others, save as TARGET", Command::convert);
  addReadOptions(*convert, line, got);
  addWriteOptions(*convert, line, got);
  command("formats", "the format table", Command::formats);
  addSettingsCommands(app, line, got);

  auto strings = prepared(arguments);
  std::reverse(strings.begin(), strings.end());
  Parsed parsed;
  try {
    app.parse(strings);
    complete(line, got);
    parsed.commandLine = std::move(line);
  } catch (const CLI::ParseError& error) {
    std::ostringstream out, err;
    const int status = app.exit(error, out, err);
    parsed = {std::nullopt, out.str(), err.str(), status == 0 ? 0 : 2};
  }
  return parsed;
}

}  // namespace tervo::cli
