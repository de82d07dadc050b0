#include "platform/settings_backend.h"

#include <cstring>

#include "platform/system_error.h"
#include "platform/windows/wide.h"

namespace tervo::platform {
namespace {

class Key {
 public:
  Key() = default;
  ~Key() {
    if (key_) RegCloseKey(key_);
  }
  Key(const Key&) = delete;
  Key& operator=(const Key&) = delete;

  HKEY get() const { return key_; }
  HKEY* place() { return &key_; }

 private:
  HKEY key_ = nullptr;
};

std::span<const std::byte> dataOf(const StoredValue& value) {
  if (const auto* bytes = std::get_if<SettingBytes>(&value)) return *bytes;
  if (const auto* number = std::get_if<uint32_t>(&value)) return std::as_bytes(std::span(number, 1));
  // With the zero that ends it.
  const Text& text = std::get<Text>(value);
  return std::as_bytes(std::span(text.c_str(), text.size() + 1));
}

constexpr DWORD typeOf(const StoredValue& value) {
  constexpr DWORD types[] = {REG_BINARY, REG_DWORD, REG_SZ};
  return types[value.index()];
}

Text textIn(std::span<const std::byte> data) {
  Text text(data.size() / sizeof(char16_t), u'\0');
  std::memcpy(text.data(), data.data(), text.size() * sizeof(char16_t));
  if (text.ends_with(u'\0')) text.pop_back();
  return text;
}

std::optional<StoredValue> valueFrom(DWORD type, std::span<const std::byte> data) {
  if (type == REG_SZ || type == REG_EXPAND_SZ) return textIn(data);
  if (type == REG_BINARY) return SettingBytes(data.begin(), data.end());
  if (type != REG_DWORD || data.size() != sizeof(uint32_t)) return std::nullopt;
  uint32_t number = 0;
  std::memcpy(&number, data.data(), sizeof number);
  return number;
}

/// The values of a key one after another; nothing behind the last. Values of other types have no value.
struct Enumerated {
  Text name;
  std::optional<StoredValue> value;
};
std::optional<Enumerated> valueAt(HKEY key, DWORD index) {
  // A value's name has at most 16383 characters.
  std::wstring name(16384, L'\0');
  SettingBytes data(4096);
  for (;;) {
    auto nameSize = static_cast<DWORD>(name.size()), dataSize = static_cast<DWORD>(data.size());
    DWORD type = 0;
    const LSTATUS status = RegEnumValueW(key, index, name.data(), &nameSize, nullptr, &type,
                                         reinterpret_cast<BYTE*>(data.data()), &dataSize);
    if (status == ERROR_MORE_DATA && dataSize > data.size()) {
      data.resize(dataSize);
      continue;
    }
    if (status != ERROR_SUCCESS) return std::nullopt;
    return Enumerated{fromWide({name.data(), nameSize}), valueFrom(type, std::span(data).first(dataSize))};
  }
}

class RegistryBackend final : public SettingsBackend {
 public:
  explicit RegistryBackend(Text path) : path_(std::move(path)) {}

  std::vector<StoredSetting> readAll() override {
    std::vector<StoredSetting> settings;
    Key key;
    if (RegOpenKeyExW(HKEY_CURRENT_USER, toWide(path_).c_str(), 0, KEY_READ, key.place()) != ERROR_SUCCESS)
      return settings;
    for (DWORD index = 0; auto next = valueAt(key.get(), index); ++index) {
      if (next->value) settings.push_back({std::move(next->name), *std::move(next->value)});
    }
    return settings;
  }

  bool write(std::span<const StoredSetting> values) override {
    Key key;
    LSTATUS status = RegCreateKeyExW(HKEY_CURRENT_USER, toWide(path_).c_str(), 0, nullptr, 0, KEY_WRITE, nullptr,
                                     key.place(), nullptr);
    for (const StoredSetting& setting : values) {
      if (status != ERROR_SUCCESS) break;
      const auto data = dataOf(setting.value);
      status = RegSetValueExW(key.get(), toWide(setting.name).c_str(), 0, typeOf(setting.value),
                              reinterpret_cast<const BYTE*>(data.data()), static_cast<DWORD>(data.size()));
    }
    if (status == ERROR_SUCCESS) return true;
    return fail(u"Could not store the settings in " + path_ + u": " + systemErrorText(static_cast<int>(status)));
  }

 private:
  Text path_;
};

}  // namespace

std::unique_ptr<SettingsBackend> openUserSettings() {
  const Text other = environment(L"TERVO_SETTINGS");
  return openSettingsAt(other.empty() ? u"Software\\QZR-Software\\Tervo Studio" : other);
}
std::unique_ptr<SettingsBackend> openSettingsAt(TextView place) {
  return std::make_unique<RegistryBackend>(Text(place));
}

}  // namespace tervo::platform
