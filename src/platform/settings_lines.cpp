#include "platform/settings_lines.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>

namespace tervo::platform {
namespace {

constexpr std::string_view blanks = " \t\r";

std::string quoted(TextView text) {
  std::string out = "\"";
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char16_t c = text[i];
    if (isHighSurrogate(c) && i + 1 < text.size() && isLowSurrogate(text[i + 1])) {
      out += toUtf8(text.substr(i++, 2));
    } else if (c == u'"' || c == u'\\') {
      out.append(1, '\\').append(1, static_cast<char>(c));
    } else if (c < 0x20 || (c >= 0x7F && c < 0xA0) || isHighSurrogate(c) || isLowSurrogate(c)) {
      out += fmt::format("\\u{:04X}", static_cast<uint16_t>(c));
    } else {
      out += toUtf8(text.substr(i, 1));
    }
  }
  return out + "\"";
}

/// Takes a line apart from its front.
class Cursor {
 public:
  explicit Cursor(std::string_view rest) : rest_(rest) {}

  bool atEnd() {
    skipBlanks();
    return rest_.empty();
  }
  bool take(char c) {
    skipBlanks();
    if (!rest_.starts_with(c)) return false;
    rest_.remove_prefix(1);
    return true;
  }
  std::string_view word() {
    skipBlanks();
    const std::string_view found = rest_.substr(0, rest_.find_first_of(" \t\r=\""));
    rest_.remove_prefix(found.size());
    return found;
  }
  template <typename T>
  std::optional<T> number(int base) {
    const std::string_view digits = word();
    T value{};
    const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), value, base);
    if (digits.empty() || result.ec != std::errc() || result.ptr != digits.data() + digits.size()) return std::nullopt;
    return value;
  }
  std::optional<Text> quotedText();

 private:
  void skipBlanks() { rest_.remove_prefix(std::min(rest_.find_first_not_of(blanks), rest_.size())); }
  std::optional<char16_t> escaped();

  std::string_view rest_;
};

/// The unit behind a backslash.
std::optional<char16_t> Cursor::escaped() {
  if (rest_.empty()) return std::nullopt;
  const char c = rest_.front();
  rest_.remove_prefix(1);
  if (c == '"' || c == '\\') return static_cast<char16_t>(c);
  if (c == 'n') return u'\n';
  if (c == 'r') return u'\r';
  if (c == 't') return u'\t';
  if (c != 'u' || rest_.size() < 4) return std::nullopt;
  uint16_t unit = 0;
  const auto result = std::from_chars(rest_.data(), rest_.data() + 4, unit, 16);
  if (result.ec != std::errc() || result.ptr != rest_.data() + 4) return std::nullopt;
  rest_.remove_prefix(4);
  return unit;
}

std::optional<Text> Cursor::quotedText() {
  if (!take('"')) return std::nullopt;
  Text text;
  for (;;) {
    const std::size_t plain = rest_.find_first_of("\"\\");
    if (plain == std::string_view::npos) return std::nullopt;
    text += fromUtf8(rest_.substr(0, plain));
    const bool ends = rest_[plain] == '"';
    rest_.remove_prefix(plain + 1);
    if (ends) return text;
    const auto unit = escaped();
    if (!unit) return std::nullopt;
    text.push_back(*unit);
  }
}

std::optional<SettingBytes> bytesIn(Cursor& cursor) {
  SettingBytes bytes;
  while (!cursor.atEnd()) {
    const auto byte = cursor.number<uint8_t>(16);
    if (!byte) return std::nullopt;
    bytes.push_back(std::byte{*byte});
  }
  return bytes;
}

std::optional<StoredValue> valueIn(Cursor& cursor) {
  const std::string_view type = cursor.word();
  if (type == "text") return cursor.quotedText();
  if (type == "number") return cursor.number<uint32_t>(10);
  if (type == "binary") return bytesIn(cursor);
  return std::nullopt;
}

bool isPlainName(TextView name) {
  return !name.empty() && std::all_of(name.begin(), name.end(), [](char16_t c) {
    return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || (c >= u'0' && c <= u'9') || c == u'.' || c == u'_';
  });
}

std::vector<std::string_view> linesOf(std::string_view file) {
  std::vector<std::string_view> lines;
  while (!file.empty()) {
    const std::size_t end = std::min(file.find('\n'), file.size());
    lines.push_back(file.substr(0, end));
    file.remove_prefix(std::min(end + 1, file.size()));
  }
  return lines;
}

}  // namespace

std::string lineOf(const StoredSetting& setting) {
  std::string line = (isPlainName(setting.name) ? toUtf8(setting.name) : quoted(setting.name)) + " = ";
  if (const auto* text = std::get_if<Text>(&setting.value)) return line + "text " + quoted(*text);
  if (const auto* number = std::get_if<uint32_t>(&setting.value)) return line + fmt::format("number {}", *number);
  line += "binary";
  for (const std::byte byte : std::get<SettingBytes>(setting.value))
    line += fmt::format(" {:02X}", static_cast<uint8_t>(byte));
  return line;
}

std::optional<StoredSetting> settingIn(std::string_view line) {
  if (!isUtf8(line)) return std::nullopt;
  Cursor cursor(line);
  Text name = fromUtf8(cursor.word());
  if (name.empty()) name = cursor.quotedText().value_or(u"");
  if (name.empty() || name.starts_with(u'#') || !cursor.take('=')) return std::nullopt;
  auto value = valueIn(cursor);
  if (!value || !cursor.atEnd()) return std::nullopt;
  return StoredSetting{std::move(name), *std::move(value)};
}

std::vector<StoredSetting> settingsIn(std::string_view file) {
  std::vector<StoredSetting> settings;
  for (const std::string_view line : linesOf(file)) {
    if (auto setting = settingIn(line)) settings.push_back(*std::move(setting));
  }
  return settings;
}

std::string mergedInto(std::string_view file, std::span<const StoredSetting> values) {
  std::vector<bool> written(values.size());
  std::string merged;
  for (const std::string_view line : linesOf(file)) {
    const auto old = settingIn(line);
    const auto isSame = [&](const StoredSetting& value) { return old && equalNoCase(value.name, old->name); };
    const auto found = std::find_if(values.begin(), values.end(), isSame);
    if (found == values.end()) {
      merged.append(line).append("\n");
    } else if (const auto index = static_cast<std::size_t>(found - values.begin()); !written[index]) {
      merged.append(lineOf(*found)).append("\n");
      written[index] = true;
    }
  }
  for (std::size_t i = 0; i < values.size(); ++i) {
    if (!written[i]) merged.append(lineOf(values[i])).append("\n");
  }
  return merged;
}

}  // namespace tervo::platform
