#include <fmt/format.h>

#include "cli/arguments/arguments.h"
#include "cli/selection.h"
#include "formats/raw_source.h"
#include "platform/path.h"

namespace tervo::cli {
namespace {

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

RawRequest rawRequest(const Collected& got) {
  RawRequest raw;
  if (!got.rawFormat.empty()) raw.format = rawFormatNamed(got.rawFormat);
  if (!got.rawOrder.empty()) raw.byteOrder = got.rawOrder == "big" ? ByteOrder::big : ByteOrder::little;
  raw.isUnsigned = got.rawUnsigned;
  raw.channels = got.rawChannels;
  raw.sampleRate = got.rawRate;
  raw.offset = got.rawOffset.value_or(0);
  raw.bytes = got.rawLength;
  return raw;
}

}  // namespace

std::vector<Text> texts(const std::vector<std::string>& strings) {
  std::vector<Text> result;
  for (const std::string& each : strings) result.push_back(fromPathBytes(each));
  return result;
}

NamedFile named(const std::string& file) {
  const Text shown = fromPathBytes(file);
  return {shown, shown.empty() ? Text() : platform::absolute(shown)};
}

std::string checkFileName(const std::string& name) {
  return name.empty() ? "the name of a file cannot be empty" : std::string();
}

std::string checkItem(const std::string& name) {
  if (itemNamed(fromUtf8(name))) return {};
  return fmt::format("\"{}\" is no item; waveform:0, instrument:3 and song:0 are", name);
}

CLI::Validator unmentioned(CLI::Validator check) {
  return check.description("");
}

CLI::Validator between(double low, double high) {
  const auto check = [low, high](const std::string& text) {
    double value = 0;
    if (CLI::detail::lexical_cast(text, value) && value >= low && value <= high) return std::string();
    return fmt::format("\"{}\" is no number from {} to {}", text, low, high);
  };
  return CLI::Validator(check, "");
}
CLI::Validator between(int low, int high) {
  return between(static_cast<double>(low), static_cast<double>(high));
}

void addCommonOptions(CLI::App& app, CommandLine& line, Collected& got) {
  app.add_flag("--json", line.json, "one JSON document on standard output");
  app.add_flag("--quiet", line.quiet, "less on standard error");
  app.add_flag("--no-progress", line.noProgress, "no progress, even on a terminal");
  app.add_option("--set", got.sets, "a setting for this run only")
      ->type_name("KEY=VALUE")
      ->expected(1)
      ->take_all()
      ->allow_extra_args(false);
}

void addFile(CLI::App& app, Collected& got, const char* description) {
  const auto take = [&got](const std::string& name) { got.files = {name}; };
  app.add_option_function<std::string>("FILE", take, description)->required()->type_name("")->check(checkFileName);
}

void addFiles(CLI::App& app, Collected& got, const char* description) {
  app.add_option("FILE", got.files, description)->required()->type_name("")->check(checkFileName);
}

void addReadOptions(CLI::App& app, CommandLine& line, Collected& got) {
  app.add_flag("--force-raw", line.forceRaw, "read an undetected file as raw data");
  app.add_option("--raw-format", got.rawFormat, "raw data: sample format, e.g. \"PCM 16-bit\"")
      ->type_name("NAME")
      ->check(checkRawFormat);
  app.add_option("--raw-channels", got.rawChannels, "raw data: channels")->type_name("1|2")->check(between(1, 2));
  app.add_option("--raw-rate", got.rawRate, "raw data: sample rate, 1 to 768000 Hz")
      ->type_name("HZ")
      ->check(between(1.0, 768000.0));
  app.add_option("--raw-order", got.rawOrder, "raw data: byte order")
      ->type_name("little|big")
      ->check(unmentioned(CLI::IsMember({"little", "big"})));
  app.add_flag("--raw-unsigned", got.rawUnsigned, "raw data: integers are unsigned");
  app.add_option("--raw-offset", got.rawOffset, "raw data: bytes to skip")->type_name("BYTES");
  app.add_option("--raw-length", got.rawLength, "raw data: bytes of samples, instead of all")->type_name("BYTES");
  app.add_option("--answer", got.answers, "answers a question in advance")
      ->type_name("yes|no|TEXT=BUTTON|TEXT=FILE")
      ->expected(1)
      ->take_all()
      ->allow_extra_args(false);
}

void addWriteOptions(CLI::App& app, CommandLine& line, Collected& got) {
  app.add_option("-o,--output", got.target, "the file to write")->type_name("TARGET")->required()->check(checkFileName);
  app.add_option("--format", got.format, "target row: index, extension or description")->type_name("ROW");
  addSaveOptions(app, line, got);
}

void addSaveOptions(CLI::App& app, CommandLine& line, Collected& got) {
  app.add_option("--coding", got.coding, "sample coding to save in, or auto")->type_name("NAME")->check(checkCoding);
  app.add_option("--rate", got.rate, "convert the sample rate, 1 to 768000 Hz")
      ->type_name("HZ")
      ->check(between(1.0, 768000.0));
  app.add_option("--channels", got.channels, "convert the channel count")->type_name("1|2")->check(between(1, 2));
  app.add_option("--item", got.items,
                 "save this item (may be repeated), counted from 0: waveform:0, instrument:3, song:0")
      ->type_name("KIND:N")
      ->expected(1)
      ->take_all()
      ->allow_extra_args(false)
      ->check(checkItem);
  addReportOptions(app, got);
  app.add_flag("--overwrite", line.overwrite, "allow replacing an existing target");
}

void addReportOptions(CLI::App& app, Collected& got) {
  app.add_flag("--report", got.reportWanted, "say what was lost, on standard error; --report=FILE: in a file");
  app.add_option("--report-file", got.report)->group("");
}

void addRenderOptions(CLI::App& app, CommandLine& line, Collected& got) {
  app.add_option("--bank", got.banks, "songs: a file with instruments, else the default GM collection")
      ->type_name("FILE")
      ->expected(1)
      ->take_all()
      ->allow_extra_args(false)
      ->check(checkFileName);
  app.add_option("--voices", line.rendering.voices, "songs: voices that may sound at once, 1 to 4096")
      ->type_name("N")
      ->check(between(1, 4096));
  app.add_flag("--no-effects", line.rendering.noEffects, "songs: without reverb and chorus");
  app.add_option("--interpolation", got.interpolation, "songs, instruments: cubic, or sinc for the best quality")
      ->type_name("cubic|sinc")
      ->check(unmentioned(CLI::IsMember({"cubic", "sinc"})));
  app.add_option("--tail", line.rendering.tailSeconds, "songs: seconds behind the last event, else until it is silent")
      ->type_name("SECONDS")
      ->check(between(0.0, 3600.0));
  app.add_option("--threads", line.rendering.threads, "songs: threads that render, else one a processor")
      ->type_name("N")
      ->check(between(1, 256));
}

void addLevelOptions(CLI::App& app, Collected& got) {
  app.add_flag("--normalise", got.normalise, "songs: bring the peak to full scale");
  app.add_flag("--no-normalise", got.noNormalise, "songs: leave the level as it is")->excludes("--normalise");
}

void completeShared(CommandLine& line, const Collected& got) {
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
  for (const std::string& bank : got.banks) line.rendering.banks.push_back(named(bank));
  line.rendering.usesSinc = got.interpolation == "sinc";
  if (got.normalise || got.noNormalise) line.rendering.normalise = got.normalise;
  if (got.reportWanted) line.report = ReportOutput::standardError;
  if (!got.report.empty()) line.report = ReportOutput::file, line.reportFile = named(got.report);
}

}  // namespace tervo::cli
