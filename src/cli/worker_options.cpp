#include "cli/worker_options.h"

#include <fmt/format.h>

namespace tervo::cli {
namespace {

class Options {
 public:
  void flag(TextView name, bool isSet) {
    if (isSet) words_.emplace_back(name);
  }
  void text(TextView name, TextView value) {
    words_.emplace_back(name);
    words_.emplace_back(value);
  }
  void texts(TextView name, const std::vector<Text>& values) {
    for (const Text& value : values) text(name, value);
  }
  template <typename Number>
  void number(TextView name, const std::optional<Number>& value) {
    if (value) text(name, fromUtf8(fmt::format("{}", *value)));
  }

  std::vector<Text> take() { return std::move(words_); }

 private:
  std::vector<Text> words_;
};

void addReading(Options& options, const CommandLine& line) {
  const RawRequest& raw = line.raw;
  options.flag(u"--force-raw", line.forceRaw);
  if (raw.format) options.text(u"--raw-format", nameOf(*raw.format));
  if (raw.byteOrder) options.text(u"--raw-order", *raw.byteOrder == ByteOrder::big ? u"big" : u"little");
  options.flag(u"--raw-unsigned", raw.isUnsigned);
  options.number(u"--raw-channels", raw.channels);
  options.number(u"--raw-rate", raw.sampleRate);
  if (raw.offset > 0) options.number(u"--raw-offset", std::optional(raw.offset));
  options.number(u"--raw-length", raw.bytes);
  options.texts(u"--answer", line.answers);
}

void addSaving(Options& options, const CommandLine& line) {
  if (line.save.coding) options.text(u"--coding", nameOf(*line.save.coding));
  if (line.save.format) options.text(u"--coding", nameOf(*line.save.format));
  options.number(u"--rate", line.save.sampleRate);
  options.number(u"--channels", line.save.channels);
  options.texts(u"--item", line.items);
}

void addRendering(Options& options, const RenderRequest& rendering) {
  for (const NamedFile& bank : rendering.banks) options.text(u"--bank", bank.path);
  options.number(u"--voices", rendering.voices);
  options.flag(u"--no-effects", rendering.noEffects);
  if (rendering.usesSinc) options.text(u"--interpolation", u"sinc");
  if (rendering.normalise) options.flag(*rendering.normalise ? u"--normalise" : u"--no-normalise", true);
  options.number(u"--tail", rendering.tailSeconds);
  if (rendering.threads > 0) options.number(u"--threads", std::optional(rendering.threads));
}

}  // namespace

std::vector<Text> workerOptions(const CommandLine& line) {
  Options options;
  addReading(options, line);
  addSaving(options, line);
  addRendering(options, line.rendering);
  options.texts(u"--set", line.sets);
  return options.take();
}

}  // namespace tervo::cli
