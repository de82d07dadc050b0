#pragma once
// Which rows of the ParameterTable a property pane shows for which items, in which groups, and what they say.

#include <QString>
#include <optional>
#include <span>
#include <vector>

#include "core/item.h"
#include "core/parameter_id.h"
#include "core/settings.h"

namespace tervo::ui {

struct PropertyGroup {
  const char* title;
  ParameterId first, last;  ///< both included
};
std::span<const PropertyGroup> propertyGroups();

/// Whether items of the kind have the row.
bool hasRow(ItemKind kind, ParameterId row);

/// What a row says for the selected items.
struct PropertyValue {
  QString text;                       ///< "<different>" where they differ
  bool isInherited = false;           ///< none of the items sets it: the text is what applies in the end
  std::optional<double> number = {};  ///< what all of them have, where it is a number
};
PropertyValue propertyValue(std::span<const ItemId> items, ParameterId row, const Settings& settings);

/// What applies to the item: its own value, that of the levels above, or the row's default.
double effectiveNumber(ItemId item, ParameterId row);

/// A value as the settings want it shown.
QString shownNumber(ParameterId row, double value, const Settings& settings);

}  // namespace tervo::ui
