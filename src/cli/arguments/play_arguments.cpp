#include <fmt/format.h>

#include <charconv>

#include "cli/arguments/arguments.h"
#include "platform/audio_device.h"
#include "platform/path.h"

namespace tervo::cli {
namespace {

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
  app.add_flag("--overwrite", line.overwrite, "allow a device or port \"file:PATH\" to replace a file");
  app.add_option("--seconds", line.playing.seconds, "no longer than that")
      ->type_name("S")
      ->check(between(0.001, 86400.0));
  app.add_option("--notes", got.notes, "instruments: keys one after another, chords joined by +")
      ->type_name("KEYS")
      ->check(unmentioned(CLI::Validator(checkNotes, "")));
  app.add_option("--velocity", line.playing.velocity, "instruments: how hard the keys are pressed, 1 to 127")
      ->type_name("N")
      ->check(between(1, 127));
  app.add_option("--midi-in", got.midiIn, "instruments: played from this MIDI port")->type_name("PORT");
  app.add_option("--midi-out", got.midiOut, "songs: sent to this MIDI port")->type_name("PORT");
}

/// A device or port. One that is a file is where it was named, as opening a file may move to its folder.
std::optional<Text> deviceNamed(const std::string& name) {
  if (name.empty()) return std::nullopt;
  const Text text = fromPathBytes(name);
  constexpr TextView prefix = platform::fileDevicePrefix;
  return text.starts_with(prefix) ? Text(prefix) + platform::absolute(text.substr(prefix.size())) : text;
}

}  // namespace

void addPlayCommand(CLI::App& app, CommandLine& line, Collected& got) {
  CLI::App* play = addCommand(app, line, got, "play", "play a waveform, an instrument or a song", Command::play);
  addFiles(*play, got, "what to play, and files to merge with it");
  addPlayOptions(*play, line, got);
  addReadOptions(*play, line, got);
  addReportOptions(*play, got);
  addRenderOptions(*play, line, got);
}

void completePlay(CommandLine& line, const Collected& got) {
  line.playing.device = deviceNamed(got.device);
  line.playing.midiIn = deviceNamed(got.midiIn);
  line.playing.midiOut = deviceNamed(got.midiOut);
  if (!got.notes.empty()) line.playing.chords = chordsIn(got.notes).value_or(line.playing.chords);
}

}  // namespace tervo::cli
