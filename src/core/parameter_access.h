#pragma once
// Values by item and row, for panes, scripts and lists that know neither the kinds nor their members. Rows that an item
// does not have and items that were deleted are nothing to get and nothing to set, never an error.

#include <optional>
#include <span>

#include "base/text.h"
#include "core/item.h"
#include "core/level_edit.h"
#include "core/parameter_lists.h"
#include "core/waveform.h"

namespace tervo {

/// What the item itself holds: articulation (instrument, layer, region), trigger rows (layer, region), waveform
/// overrides (region), waveform and instrument numbers. Nothing for a row that the level leaves to the one above.
std::optional<double> parameterValue(ItemId id, ParameterId row);

/// Sets the row to the value brought into its range. A root-key override of 255 stands for none and clears the row.
/// False when the item has no such row or the value is not a number.
bool setParameterValue(ItemId id, ParameterId row, double value, Propagation propagation = Propagation::none);

/// Leaves the row to the level above. False when the item does not hold the row sparsely.
bool clearParameterValue(ItemId id, ParameterId row, Propagation propagation = Propagation::none);

/// The info tags of a collection or a waveform (tagName..tagSourceFile).
std::optional<Text> parameterText(ItemId id, ParameterId row);
bool setParameterText(ItemId id, ParameterId row, TextView text);

/// The rows of one marker (markerType, markerStart..loopPitch); markerName is its member.
std::optional<double> markerValue(const Marker& marker, ParameterId row);
/// Keeps the end at least one frame after the start by moving the other one along.
bool setMarkerValue(Marker& marker, ParameterId row, double value);

/// What a pane shows for several selected items: the value or text that they share, empty when none of them sets the
/// row, "<different>" otherwise.
Text sharedValueText(std::span<const ItemId> items, ParameterId row, MiddleC middleC = MiddleC::c4);

}  // namespace tervo
