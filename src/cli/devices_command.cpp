#include <fmt/format.h>

#include "audio/output/output_format.h"
#include "cli/commands.h"
#include "cli/document_json.h"
#include "platform/midi_port.h"

namespace tervo::cli {
namespace {

nlohmann::ordered_json outputsJson(const std::vector<platform::AudioDeviceInfo>& devices) {
  nlohmann::ordered_json all = nlohmann::ordered_json::array();
  for (const auto& device : devices) {
    all.push_back({{"name", utf8(device.name)},
                   {"default", device.isDefault},
                   {"mixRate", device.mixRate},
                   {"channels", device.channels},
                   {"sampleRates", device.sampleRates}});
  }
  return all;
}

nlohmann::ordered_json portsJson(const std::vector<Text>& ports) {
  nlohmann::ordered_json all = nlohmann::ordered_json::array();
  for (const Text& port : ports) all.push_back(utf8(port));
  return all;
}

std::string outputsText(const std::vector<platform::AudioDeviceInfo>& devices) {
  std::string text = "Audio outputs (beside them \"null\" and \"file:PATH\"):\n";
  for (const auto& device : devices) {
    text += fmt::format("{} {}  {}, {}\n", device.isDefault ? "*" : " ", printable(device.name),
                        utf8(audio::rateText(device.mixRate)), utf8(audio::channelsText(device.channels)));
  }
  if (devices.empty()) text += "  " + utf8(audio::outputListTexts(devices).front()) + "\n";
  return text;
}

std::string portsText(const char* title, const std::vector<Text>& ports) {
  std::string text = fmt::format("{}:\n", title);
  for (const Text& port : ports) text += fmt::format("  {}\n", printable(port));
  if (ports.empty()) text += fmt::format("  {}\n", utf8(noMidiDevice));
  return text;
}

}  // namespace

int runDevices(const CommandLine& line, Console& console) {
  const auto outputs = platform::audioDevices();
  const auto midiIn = platform::midiInputs(), midiOut = platform::midiOutputs();
  if (line.json) {
    console.out(dumped({{"audioOutputs", outputsJson(outputs)},
                        {"midiInputs", portsJson(midiIn)},
                        {"midiOutputs", portsJson(midiOut)}}));
  } else {
    console.out(outputsText(outputs) + portsText("MIDI inputs", midiIn) + portsText("MIDI outputs", midiOut));
  }
  return exitDone;
}

}  // namespace tervo::cli
