#pragma once
// What can be done to an item of the document: one table of operations with their options. Wizards, menus, `tervo
// process` and its help all derive from it.

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "core/host.h"
#include "core/item.h"
#include "core/report.h"

namespace tervo {

class DocumentHistory;
struct Selectors;

enum class OptionType : uint8_t {
  integer,
  number,
  flag,    ///< 0 or 1
  choice,  ///< the index of one of the choices
  choices  ///< any of them: bit k for choice k
};

struct OptionInfo {
  TextView name;   ///< one lower-case word or several with hyphens, as on the command line
  TextView title;  ///< beside the field of a dialog
  OptionType type;
  double lowest;   ///< of a number
  double highest;  ///< of a number
  double usual;    ///< what holds when the user says nothing
  std::span<const TextView> choices;
  TextView text;                    ///< one sentence that says what it does, without a full stop
  bool isAnsweredByReport = false;  ///< what it asks for stands in the report, which the user then wants to see
  TextView unit = {};               ///< behind the field of a dialog
};

/// Values for the options of one operation; all are set.
class OptionValues {
 public:
  explicit OptionValues(std::span<const OptionInfo> options);

  /// Sets an option from text: a number, "on" or "off", the name of a choice, several with commas between them. False
  /// with LastErrorText, which says what is expected.
  bool set(TextView name, TextView text);

  double number(TextView name) const { return values_[indexOf(name)]; }
  int integer(TextView name) const { return static_cast<int>(number(name)); }
  bool flag(TextView name) const { return number(name) != 0; }
  /// The index of the choice.
  std::size_t choice(TextView name) const { return static_cast<std::size_t>(number(name)); }
  /// The mask of the choices.
  uint32_t choices(TextView name) const { return static_cast<uint32_t>(number(name)); }

 private:
  std::size_t indexOf(TextView name) const;

  std::span<const OptionInfo> options_;
  std::vector<double> values_;
};

/// The value that a text gives to an option; nothing with LastErrorText.
std::optional<double> parseOption(const OptionInfo& option, TextView text);
/// A value as text, as it is given.
Text valueText(const OptionInfo& option, double value);
/// What `usual` is as text.
inline Text usualText(const OptionInfo& option) {
  return valueText(option, option.usual);
}
/// What an option takes: "-127..127", "seconds|quarters|ticks".
Text rangeText(const OptionInfo& option);

/// What an operation may use. It asks `host.progress` now and then and fails when told to stop.
struct OperationContext {
  Host& host;
  ConversionReport& report;
  Selectors* selectors = nullptr;  ///< of a waveform: what regions name in it
  std::size_t items = 1;           ///< that the operation was asked to work on
};

enum class Outcome : uint8_t {
  failed,       ///< LastErrorText says why
  nothingToDo,  ///< the item is as the operation would make it, or gives it nothing to work on
  changed
};

struct Operation {
  TextView name;   ///< as on the command line
  TextView title;  ///< of the menu entry
  ItemKind kind;   ///< of the items it works on
  std::span<const OptionInfo> options;
  /// Changes a copy of an item. Items without data are not given to it. What it leaves behind when it does not return
  /// `changed` does not matter.
  Outcome (*run)(Item& copy, const OptionValues& values, const OperationContext& context);
  TextView text;          ///< one sentence that says what it does, without a full stop
  TextView heading = {};  ///< what the wizard says instead, with its punctuation
};

std::span<const Operation> Operations();
/// Null when there is none of that name.
const Operation* findOperation(TextView name);

/// Runs it on items of its kind, all or none: when it fails or is cancelled, all are as they were, and so is the
/// report. With a history it is one undo step of the document that the items belong to. Shows "Done: " with what was
/// done. Document thread.
Outcome RunOperation(const Operation& operation, std::span<Item* const> items, const OptionValues& values,
                     const OperationContext& context, DocumentHistory* history = nullptr);
/// For one item; false with LastErrorText.
bool RunOperation(const Operation& operation, Item& item, const OptionValues& values, const OperationContext& context);

}  // namespace tervo
