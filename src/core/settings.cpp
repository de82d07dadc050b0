#include "core/settings.h"

#include <algorithm>

#include "core/settings_table.h"

namespace tervo {
namespace {

/// Virtual-key codes (WinUser.h) of the punctuation keys of a US keyboard, each with its shifted character.
struct PunctuationKey {
  char plain, shifted;
  uint8_t code;
};
constexpr PunctuationKey punctuation[] = {
    {' ', ' ', 0x20}, {';', ':', 0xBA}, {'=', '+', 0xBB}, {',', '<', 0xBC},  {'-', '_', 0xBD}, {'.', '>', 0xBE},
    {'/', '?', 0xBF}, {'`', '~', 0xC0}, {'[', '{', 0xDB}, {'\\', '|', 0xDC}, {']', '}', 0xDD}, {'\'', '"', 0xDE},
};

uint8_t virtualKeyCode(char c) {
  // Letters and digits have their own character's code.
  const char16_t key = upper(static_cast<uint8_t>(c));
  if ((key >= u'A' && key <= u'Z') || (key >= u'0' && key <= u'9')) return static_cast<uint8_t>(key);
  for (const PunctuationKey& k : punctuation) {
    if (c == k.plain || c == k.shifted) return k.code;
  }
  return 0;
}

bool isOneOf(const std::vector<Text>& names, const Text& name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

void fallBack(Text& device, uint8_t& exclusive, const std::vector<Text>& existing) {
  if (device == defaultAudioDevice || isOneOf(existing, device)) return;
  device = defaultAudioDevice;
  exclusive = 0;
}

}  // namespace

void FallBackToExistingDevices(Settings& settings, const DeviceNames& existing) {
  fallBack(settings.aio.audioOutDev, settings.aio.audioOutExclusive, existing.audioOut);
  fallBack(settings.aio.audioInDev, settings.aio.audioInExclusive, existing.audioIn);
  Text& midiIn = settings.aio.midiInDev;
  if (!midiIn.empty() && !isOneOf(existing.midiIn, midiIn)) midiIn = noMidiDevice;
}

void RememberFile(Settings& settings, TextView path) {
  constexpr std::size_t most = 16;
  std::vector<Text>& files = settings.app.lastFiles;
  std::erase_if(files, [&](const Text& file) { return file == path; });
  files.insert(files.begin(), Text(path));
  if (files.size() > most) files.resize(most);
}

std::vector<uint8_t> virtualKeyCodes(std::string_view characters) {
  std::vector<uint8_t> codes;
  for (const char c : characters) codes.push_back(virtualKeyCode(c));
  return codes;
}

}  // namespace tervo
