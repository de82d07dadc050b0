#include <fmt/format.h>

#include <cassert>
#include <charconv>
#include <cmath>
#include <string>

#include "base/last_error.h"
#include "tools/operation.h"

namespace tervo {
namespace {

std::optional<double> parsedNumber(const OptionInfo& option, TextView text) {
  if (text.starts_with(u'+') && !text.starts_with(u"+-")) text.remove_prefix(1);
  const std::string digits = toUtf8(text);
  double value = 0;
  const char* end = digits.data() + digits.size();
  const auto parsed = std::from_chars(digits.data(), end, value);
  if (parsed.ec != std::errc() || parsed.ptr != end) return std::nullopt;
  if (!(value >= option.lowest && value <= option.highest)) return std::nullopt;
  if (option.type == OptionType::integer && value != std::floor(value)) return std::nullopt;
  return value;
}

std::optional<std::size_t> choiceNamed(const OptionInfo& option, TextView text) {
  for (std::size_t i = 0; i < option.choices.size(); ++i) {
    if (equalNoCase(option.choices[i], text)) return i;
  }
  return std::nullopt;
}

std::optional<double> parsedChoices(const OptionInfo& option, TextView text) {
  uint32_t mask = 0;
  while (true) {
    const std::size_t comma = text.find(u',');
    const auto choice = choiceNamed(option, text.substr(0, comma));
    if (!choice) return std::nullopt;
    mask |= 1u << *choice;
    if (comma == TextView::npos) return mask;
    text.remove_prefix(comma + 1);
  }
}

std::optional<double> parsedFlag(TextView text) {
  if (equalNoCase(text, u"on") || text == u"1") return 1;
  if (equalNoCase(text, u"off") || text == u"0") return 0;
  return std::nullopt;
}

std::optional<double> parsed(const OptionInfo& option, TextView text) {
  switch (option.type) {
    case OptionType::integer:
    case OptionType::number:
      return parsedNumber(option, text);
    case OptionType::flag:
      return parsedFlag(text);
    case OptionType::choice:
      return choiceNamed(option, text);
    case OptionType::choices:
      return parsedChoices(option, text);
  }
  return std::nullopt;
}

Text joined(std::span<const TextView> words, TextView between) {
  Text text;
  for (const TextView word : words) text.append(text.empty() ? TextView() : between).append(word);
  return text;
}

/// What a text is not.
Text expectedText(const OptionInfo& option) {
  const bool isNumber = option.type == OptionType::integer || option.type == OptionType::number;
  if (!isNumber) return u"not one of " + rangeText(option);
  return fromUtf8(fmt::format("no {}number from {} to {}", option.type == OptionType::integer ? "whole " : "",
                              option.lowest, option.highest));
}

}  // namespace

std::optional<double> parseOption(const OptionInfo& option, TextView text) {
  const auto value = parsed(option, text);
  if (!value) setLastErrorText(Text(u"\"").append(text).append(u"\" is ").append(expectedText(option)));
  return value;
}

Text rangeText(const OptionInfo& option) {
  switch (option.type) {
    case OptionType::flag:
      return u"on|off";
    case OptionType::choice:
      return joined(option.choices, u"|");
    case OptionType::choices:
      return joined(option.choices, u",");
    default:
      return fromUtf8(fmt::format("{}..{}", option.lowest, option.highest));
  }
}

Text valueText(const OptionInfo& option, double value) {
  if (option.type == OptionType::flag) return value != 0 ? u"on" : u"off";
  if (option.type == OptionType::choice) return Text(option.choices[static_cast<std::size_t>(value)]);
  if (option.type != OptionType::choices) return fromUtf8(fmt::format("{}", value));
  std::vector<TextView> words;
  for (std::size_t i = 0; i < option.choices.size(); ++i) {
    if (static_cast<uint32_t>(value) >> i & 1) words.push_back(option.choices[i]);
  }
  return joined(words, u",");
}

OptionValues::OptionValues(std::span<const OptionInfo> options) : options_(options) {
  for (const auto& option : options) values_.push_back(option.usual);
}

std::size_t OptionValues::indexOf(TextView name) const {
  std::size_t i = 0;
  while (i < options_.size() && options_[i].name != name) ++i;
  assert(i < options_.size());
  return i;
}

bool OptionValues::set(TextView name, TextView text) {
  for (std::size_t i = 0; i < options_.size(); ++i) {
    if (options_[i].name != name) continue;
    const auto value = parseOption(options_[i], text);
    if (value) values_[i] = *value;
    return value.has_value();
  }
  return fail(Text(u"There is no option ").append(name));
}

}  // namespace tervo
