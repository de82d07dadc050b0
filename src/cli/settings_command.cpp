#include <fmt/format.h>

#include "cli/commands.h"
#include "cli/document_json.h"
#include "core/settings_table.h"
#include "platform/settings_backend.h"

namespace tervo::cli {
namespace {

nlohmann::ordered_json settingJson(const Settings& settings, const SettingRow& row) {
  return {{"key", utf8(row.key)},
          {"value", utf8(settingText(settings, row))},
          {"default", utf8(defaultSettingText(row))},
          {"type", utf8(settingTypeText(row))},
          {"meaning", utf8(row.meaning)}};
}

int list(const CommandLine& line, Console& console, const Settings& settings) {
  nlohmann::ordered_json all = nlohmann::ordered_json::array();
  std::string text;
  for (const SettingRow& row : settingRows()) {
    if (line.json) {
      all.push_back(settingJson(settings, row));
    } else {
      text += fmt::format("{} = {}\n", utf8(row.key), printable(settingText(settings, row)));
    }
  }
  console.out(line.json ? dumped(all) : text);
  return exitDone;
}

int get(const CommandLine& line, Console& console, const Settings& settings, const SettingRow& row) {
  // As it was given: a path need not be valid UTF-8.
  console.out(line.json ? dumped(settingJson(settings, row)) : toPathBytes(settingText(settings, row)) + "\n");
  return exitDone;
}

}  // namespace

int runSettings(const CommandLine& line, Console& console, Settings settings) {
  if (line.command == Command::settingsList) return list(line, console, settings);
  const SettingRow* row = findSetting(line.settingKey);
  if (row && line.command == Command::settingsGet) return get(line, console, settings, *row);
  if (row && setSettingText(settings, *row, line.settingValue) &&
      SaveSetting(settings, *row, *platform::openUserSettings())) {
    if (line.json) console.out(dumped(settingJson(settings, *row)));
    return exitDone;
  }
  console.failure(line.settingKey);
  return exitFailed;
}

}  // namespace tervo::cli
