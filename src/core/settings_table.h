#pragma once
// The settings one by one, by their keys: what the command line lists, reads and sets.

#include <cstdint>
#include <span>
#include <string>
#include <variant>
#include <vector>

#include "core/settings.h"

namespace tervo {

enum class StoredAs : uint8_t { binary, number, text };

/// A field of the record. Numbers and arrays of numbers are stored as their bytes; the other three have lengths of
/// their own.
using SettingField = std::variant<std::span<uint8_t>, std::span<int32_t>, std::span<uint32_t>, std::span<uint16_t>,
                                  std::span<float>, Text*, std::string*, std::vector<Text>*>;

/// What a user may set; what is stored may be anything that the field can hold. Equal ends: the field's own range.
struct SettingLimits {
  double low = 0;
  double high = 0;
  bool isFlag = false;  ///< words for on and off are taken as well
};

struct SettingRow {
  TextView key;
  StoredAs stored;
  std::size_t size;  ///< bytes, characters of a text; 0: any length
  SettingField (*field)(Settings&);
  TextView standard;  ///< the default, written as for setSettingText()
  SettingLimits limits;
  TextView meaning;
};

/// All settings in the order in which they are loaded.
std::span<const SettingRow> settingRows();
/// The row of a key, compared without regard to case. Null with LastErrorText.
const SettingRow* findSetting(TextView key);

/// The row's field of a record that is only looked at.
SettingField fieldOf(const Settings& settings, const SettingRow& row);

/// The default of a row on this system, as text.
Text defaultSettingText(const SettingRow& row);
/// "on/off", "number", "5 numbers", "text", "keys" or "files", with the limits: "number 8..32".
Text settingTypeText(const SettingRow& row);

/// A field as text: numbers in decimal (or hexadecimal where the default is), arrays and files separated by ", " and
/// "|".
Text settingText(const Settings& settings, const SettingRow& row);
/// Sets a field for this run; nothing is stored. False with LastErrorText, which says what the setting takes.
bool setSettingText(Settings& settings, const SettingRow& row, TextView value);
/// The same for "KEY=VALUE".
bool setSettingText(Settings& settings, TextView keyAndValue);

/// Stores this one value and leaves the others, whoever wrote them, as they are.
bool SaveSetting(const Settings& settings, const SettingRow& row, platform::SettingsBackend& backend);

}  // namespace tervo
