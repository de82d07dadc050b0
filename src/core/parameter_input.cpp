#include "core/parameter_input.h"

#include <algorithm>
#include <charconv>
#include <string>

#include "base/last_error.h"
#include "core/waveform.h"

namespace tervo {
namespace {

std::string trimmed(TextView text) {
  std::string utf8 = toUtf8(text);
  const auto isBlank = [](char c) { return c == ' ' || c == '\t'; };
  utf8.erase(utf8.begin(), std::find_if_not(utf8.begin(), utf8.end(), isBlank));
  while (!utf8.empty() && isBlank(utf8.back())) utf8.pop_back();
  // A comma is how half of the world writes the point.
  std::replace(utf8.begin(), utf8.end(), ',', '.');
  return utf8;
}

bool startsWithNoCase(TextView text, TextView start) {
  return text.size() >= start.size() && equalNoCase(text.substr(0, start.size()), start);
}

/// A choice by its name, or by the only name that begins so.
std::optional<double> choiceNamed(std::span<const TextView> choices, TextView text) {
  std::optional<double> found;
  for (std::size_t i = 0; i < choices.size(); ++i) {
    if (equalNoCase(choices[i], text)) return static_cast<double>(i);
    if (!text.empty() && startsWithNoCase(choices[i], text)) {
      if (found) return std::nullopt;
      found = static_cast<double>(i);
    }
  }
  return found;
}

std::optional<double> keyNamed(TextView text, MiddleC middleC) {
  for (int key = 0; key < 128; ++key) {
    if (equalNoCase(keyName(key, middleC), text)) return key;
  }
  return std::nullopt;
}

/// What the unit behind a number multiplies it with; nothing for one that the row does not know.
std::optional<double> factorOf(const ParameterRow& row, TextView unit) {
  const bool isPercent = row.unit == ParameterUnit::percent;
  if (unit.empty()) return isPercent ? 0.01 : 1;
  if (equalNoCase(unit, nameOf(row.unit))) return isPercent ? 0.01 : 1;
  if (row.unit == ParameterUnit::seconds && equalNoCase(unit, u"ms")) return 0.001;
  if (row.unit == ParameterUnit::milliseconds && equalNoCase(unit, u"s")) return 1000;
  if (row.unit == ParameterUnit::semitones && (equalNoCase(unit, u"ct") || equalNoCase(unit, u"cents"))) return 0.01;
  const bool isHertz = row.unit == ParameterUnit::hertz || row.maximum > 10000;
  if (isHertz && (equalNoCase(unit, u"k") || equalNoCase(unit, u"kHz"))) return 1000;
  return std::nullopt;
}

std::optional<double> numberWithUnit(const ParameterRow& row, std::string_view text) {
  if (text.starts_with('+')) text.remove_prefix(1);
  double value = 0;
  const auto parsed = std::from_chars(text.data(), text.data() + text.size(), value);
  if (parsed.ec != std::errc()) return std::nullopt;
  text.remove_prefix(static_cast<std::size_t>(parsed.ptr - text.data()));
  const auto unit = factorOf(row, fromUtf8(trimmed(fromUtf8(text))));
  return unit ? std::optional(value * *unit) : std::nullopt;
}

std::optional<double> parsed(ParameterId id, TextView text, MiddleC middleC) {
  const ParameterRow& row = rowOf(id);
  if (const auto choice = choiceNamed(choicesOf(row.editor), text)) return choice;
  if (row.editor == EditorKind::key) {
    if (const auto key = keyNamed(text, middleC)) return key;
  }
  if (row.editor == EditorKind::loopCount) {
    if (equalNoCase(text, u"Infinite")) return loopForever;
    if (equalNoCase(text, u"Until Release")) return loopUntilRelease;
  }
  return numberWithUnit(row, toUtf8(text));
}

}  // namespace

std::optional<double> parseValue(ParameterId id, TextView text, MiddleC middleC) {
  if (const auto value = parsed(id, fromUtf8(trimmed(text)), middleC)) {
    if (const auto inside = inRange(id, *value)) return inside;
  }
  setLastErrorText(Text(rowOf(id).name) + u": " + rangeText(id, middleC));
  return std::nullopt;
}

Text rangeText(ParameterId id, MiddleC middleC) {
  const ParameterRow& row = rowOf(id);
  if (const auto choices = choicesOf(row.editor); !choices.empty()) {
    Text text(choices[0]);
    for (const TextView choice : choices.subspan(1)) text.append(u", ").append(choice);
    return text;
  }
  return valueText(id, double{row.minimum}, middleC) + u" to " + valueText(id, double{row.maximum}, middleC);
}

}  // namespace tervo
