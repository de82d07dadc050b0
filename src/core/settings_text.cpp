// Settings written and read as text, by the type of their field.

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <optional>

#include "base/last_error.h"
#include "core/settings_table.h"

namespace tervo {
namespace {

bool wantsHexadecimal(const SettingRow& row) {
  return row.standard.starts_with(u"0x");
}

template <typename T>
Text numbersText(std::span<const T> values, const SettingRow& row) {
  std::string text;
  for (const T value : values) {
    if (!text.empty()) text += ", ";
    if constexpr (std::is_floating_point_v<T>) {
      text += fmt::format("{}", value);
    } else {
      text += wantsHexadecimal(row) ? fmt::format("0x{:0{}X}", value, sizeof(T) * 2) : fmt::format("{}", value);
    }
  }
  return fromUtf8(text);
}

std::vector<Text> split(TextView text, char16_t separator) {
  std::vector<Text> parts;
  for (std::size_t at = 0; at <= text.size();) {
    const std::size_t end = std::min(text.find(separator, at), text.size());
    parts.emplace_back(text.substr(at, end - at));
    at = end + 1;
  }
  return parts;
}

TextView trimmed(TextView text) {
  const std::size_t first = text.find_first_not_of(u" \t");
  if (first == TextView::npos) return {};
  return text.substr(first, text.find_last_not_of(u" \t") - first + 1);
}

std::optional<double> flagWord(TextView text) {
  for (const TextView word : {u"on", u"yes", u"true"}) {
    if (equalNoCase(text, word)) return 1;
  }
  for (const TextView word : {u"off", u"no", u"false"}) {
    if (equalNoCase(text, word)) return 0;
  }
  return std::nullopt;
}

std::optional<double> parseNumber(TextView text) {
  const bool hasPlus = text.starts_with(u'+') && !text.starts_with(u"+-");
  const std::string digits = toUtf8(text.substr(hasPlus ? 1 : 0));
  const char* const end = digits.data() + digits.size();
  if (digits.starts_with("0x") || digits.starts_with("0X")) {
    uint32_t value = 0;
    const auto result = std::from_chars(digits.data() + 2, end, value, 16);
    return result.ec == std::errc() && result.ptr == end ? std::optional<double>(value) : std::nullopt;
  }
  double value = 0;
  const auto result = std::from_chars(digits.data(), end, value);
  return result.ec == std::errc() && result.ptr == end && std::isfinite(value) ? std::optional(value) : std::nullopt;
}

template <typename T>
SettingLimits limitsOf(const SettingRow& row) {
  if (row.limits.low != row.limits.high) return row.limits;
  return {.low = double{std::numeric_limits<T>::lowest()}, .high = double{std::numeric_limits<T>::max()}};
}

template <typename T>
std::optional<T> parseFor(const SettingRow& row, TextView text) {
  auto value = parseNumber(text);
  if (!value && row.limits.isFlag) value = flagWord(text);
  const SettingLimits limits = limitsOf<T>(row);
  if (!value || *value < limits.low || *value > limits.high) return std::nullopt;
  if (std::is_integral_v<T> && *value != std::trunc(*value)) return std::nullopt;
  return static_cast<T>(*value);
}

struct Parser {
  const SettingRow& row;
  TextView text;

  template <typename T>
  bool operator()(std::span<T> field) const {
    const std::vector<Text> parts = split(text, u',');
    if (parts.size() != field.size()) return false;
    std::vector<T> values;
    for (const Text& part : parts) {
      const auto value = parseFor<T>(row, trimmed(part));
      if (!value) return false;
      values.push_back(*value);
    }
    std::copy(values.begin(), values.end(), field.begin());
    return true;
  }
  bool operator()(Text* field) const {
    if ((row.size > 0 && text.size() > row.size) || text.find(u'\0') != TextView::npos) return false;
    *field = text;
    return true;
  }
  bool operator()(std::string* field) const {
    const bool printable = std::all_of(text.begin(), text.end(), [](char16_t c) { return c >= 0x20 && c < 0x7F; });
    if (!printable || text.size() > row.size) return false;
    *field = toUtf8(text);
    return true;
  }
  bool operator()(std::vector<Text>* field) const {
    std::vector<Text> files = split(text, u'|');
    std::erase(files, Text());
    std::size_t bytes = 0;
    for (const Text& file : files) bytes += (file.size() + 1) * sizeof(char16_t);
    if (bytes > row.size || text.find(u'\0') != TextView::npos) return false;
    *field = std::move(files);
    return true;
  }
};

struct Printer {
  const SettingRow& row;

  template <typename T>
  Text operator()(std::span<T> field) const {
    return numbersText<T>(field, row);
  }
  Text operator()(const Text* field) const { return *field; }
  Text operator()(const std::string* field) const { return fromUtf8(*field); }
  Text operator()(const std::vector<Text>* field) const {
    Text text;
    for (const Text& file : *field) text.append(text.empty() ? u"" : u"|").append(file);
    return text;
  }
};

struct TypePrinter {
  const SettingRow& row;

  template <typename T>
  std::string operator()(std::span<T> field) const {
    if (row.limits.isFlag) return "on/off";
    const SettingLimits limits = limitsOf<T>(row);
    std::string what = field.size() == 1 ? "number" : fmt::format("{} numbers", field.size());
    if (std::is_floating_point_v<T> && row.limits.low == row.limits.high) return what;
    return fmt::format("{} {:.0f}..{:.0f}", what, limits.low, limits.high);
  }
  std::string operator()(const Text*) const {
    return row.size == 0 ? "text" : fmt::format("text of at most {} characters", row.size);
  }
  std::string operator()(const std::string*) const { return fmt::format("at most {} keys", row.size); }
  std::string operator()(const std::vector<Text>*) const { return "files separated by |"; }
};

/// Enough of a value to know it by.
Text shortened(TextView value) {
  constexpr std::size_t most = 60;
  if (value.size() <= most) return Text(value);
  return Text(value.substr(0, isHighSurrogate(value[most - 1]) ? most - 1 : most)) + u"...";
}

}  // namespace

Text settingText(const Settings& settings, const SettingRow& row) {
  return std::visit(Printer{row}, fieldOf(settings, row));
}

Text settingTypeText(const SettingRow& row) {
  static Settings example;
  return fromUtf8(std::visit(TypePrinter{row}, row.field(example)));
}

bool setSettingText(Settings& settings, const SettingRow& row, TextView value) {
  if (std::visit(Parser{row, value}, row.field(settings))) return true;
  return fail(u"Takes " + settingTypeText(row) + u", not \"" + shortened(value) + u"\"");
}

bool setSettingText(Settings& settings, TextView keyAndValue) {
  const std::size_t equals = keyAndValue.find(u'=');
  if (equals == TextView::npos) return fail(u"Write a setting as KEY=VALUE, not \"" + Text(keyAndValue) + u"\"");
  const SettingRow* row = findSetting(keyAndValue.substr(0, equals));
  return row && setSettingText(settings, *row, keyAndValue.substr(equals + 1));
}

}  // namespace tervo
