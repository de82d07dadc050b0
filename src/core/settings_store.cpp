// Settings between the record and the user's store, each value in the form that it has there.

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>

#include "core/settings_table.h"
#include "platform/settings_backend.h"

namespace tervo {
namespace {

using platform::SettingBytes;
using platform::StoredSetting;
using platform::StoredValue;

// Fields are stored as the bytes that they have in memory, lowest first.
static_assert(std::endian::native == std::endian::little);

/// The start of the text that fits; a surrogate pair is not cut apart.
TextView cut(TextView text, std::size_t most) {
  if (most == 0 || text.size() <= most) return text;
  const bool cutsPair = isLowSurrogate(text[most]) && isHighSurrogate(text[most - 1]);
  return text.substr(0, cutsPair ? most - 1 : most);
}

std::span<const std::byte> bytesOf(const StoredValue& value) {
  if (const auto* bytes = std::get_if<SettingBytes>(&value)) return *bytes;
  if (const auto* number = std::get_if<uint32_t>(&value)) return std::as_bytes(std::span(number, 1));
  return {};
}

/// Sets a field to what is stored. A value of another type, one too long for the field, and one that no arithmetic can
/// use leave it alone.
struct Reader {
  const SettingRow& row;
  const StoredValue& value;

  template <typename T>
  void operator()(std::span<T> field) const {
    const auto bytes = bytesOf(value);
    if (bytes.empty() || bytes.size() > field.size_bytes()) return;
    std::vector<T> stored(field.begin(), field.end());
    std::memcpy(stored.data(), bytes.data(), bytes.size());
    const auto isFinite = [](T number) { return std::isfinite(static_cast<double>(number)); };
    if (std::all_of(stored.begin(), stored.end(), isFinite)) std::copy(stored.begin(), stored.end(), field.begin());
  }
  void operator()(Text* field) const {
    const auto* text = std::get_if<Text>(&value);
    if (text && (row.size == 0 || text->size() <= row.size)) *field = text->substr(0, text->find(u'\0'));
  }
  void operator()(std::string* field) const {
    const auto* bytes = std::get_if<SettingBytes>(&value);
    if (!bytes || bytes->size() > row.size) return;
    field->assign(reinterpret_cast<const char*>(bytes->data()), bytes->size());
    field->resize(std::min(field->find('\0'), field->size()));
  }
  /// Texts one after the other, each ended by a zero.
  void operator()(std::vector<Text>* field) const {
    const auto* bytes = std::get_if<SettingBytes>(&value);
    if (!bytes || bytes->size() > row.size) return;
    Text all(bytes->size() / sizeof(char16_t), u'\0');
    if (!all.empty()) std::memcpy(all.data(), bytes->data(), all.size() * sizeof(char16_t));
    field->clear();
    for (std::size_t at = 0; at < all.size();) {
      const std::size_t end = std::min(all.find(u'\0', at), all.size());
      if (end > at) field->push_back(all.substr(at, end - at));
      at = end + 1;
    }
  }
};

struct Writer {
  const SettingRow& row;

  template <typename T>
  StoredValue operator()(std::span<T> field) const {
    const auto bytes = std::as_bytes(field);
    if (row.stored == StoredAs::binary) return SettingBytes(bytes.begin(), bytes.end());
    uint32_t number = 0;
    std::memcpy(&number, bytes.data(), std::min(bytes.size(), sizeof number));
    return number;
  }
  StoredValue operator()(const Text* field) const { return Text(cut(*field, row.size)); }
  StoredValue operator()(const std::string* field) const {
    const auto bytes = std::as_bytes(std::span(*field));
    return SettingBytes(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(std::min(bytes.size(), row.size)));
  }
  StoredValue operator()(const std::vector<Text>* field) const {
    SettingBytes all;
    for (const Text& text : *field) {
      const auto bytes = std::as_bytes(std::span(text.c_str(), text.size() + 1));
      if (all.size() + bytes.size() > row.size) continue;  // a path that is too long must not cost the others
      all.insert(all.end(), bytes.begin(), bytes.end());
    }
    return all;
  }
};

StoredSetting storedForm(const Settings& settings, const SettingRow& row) {
  return {Text(row.key), std::visit(Writer{row}, fieldOf(settings, row))};
}

/// "12.9" before "12.10"; whatever is not a number counts as 0.
bool isLowerVersion(TextView a, TextView b) {
  const auto part = [](TextView& version) {
    const std::string digits = toUtf8(version.substr(0, version.find(u'.')));
    version.remove_prefix(
        std::min(version.size(), version.find(u'.') == TextView::npos ? version.size() : version.find(u'.') + 1));
    int number = 0;
    std::from_chars(digits.data(), digits.data() + digits.size(), number);
    return number;
  };
  while (!a.empty() || !b.empty()) {
    const int left = part(a), right = part(b);
    if (left != right) return left < right;
  }
  return false;
}

/// Reads everything; true when the store had been written by an older version, or by none.
bool readAll(Settings& settings, platform::SettingsBackend& backend) {
  settings = Settings();
  for (const StoredSetting& stored : backend.readAll()) {
    for (const SettingRow& row : settingRows()) {
      if (equalNoCase(row.key, stored.name)) std::visit(Reader{row, stored.value}, row.field(settings));
    }
  }
  settings.firstRun = settings.versionNumber == u"0.0";
  if (!isLowerVersion(settings.versionNumber, settingsVersion)) return false;
  settings.versionNumber = settingsVersion;
  return true;
}

}  // namespace

void ReadSettings(Settings& settings, platform::SettingsBackend& backend) {
  readAll(settings, backend);
}

bool LoadSettings(Settings& settings, platform::SettingsBackend& backend) {
  return !readAll(settings, backend) || SaveSetting(settings, *findSetting(u"VersionNumber"), backend);
}

bool SaveSettings(const Settings& settings, platform::SettingsBackend& backend) {
  std::vector<StoredSetting> values;
  for (const SettingRow& row : settingRows()) values.push_back(storedForm(settings, row));
  return backend.write(values);
}

bool SaveSetting(const Settings& settings, const SettingRow& row, platform::SettingsBackend& backend) {
  const StoredSetting value = storedForm(settings, row);
  return backend.write(std::span(&value, 1));
}

}  // namespace tervo
