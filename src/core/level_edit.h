#pragma once
// Edits of a row at one level of an instrument, and what they do to the levels below.

#include <optional>

#include "core/articulation_set.h"
#include "core/item.h"

namespace tervo {

/// The user option "Propagate down delta of edited articulation parameters to lower levels": an edit of an instrument's
/// or a layer's articulation row changes that row by the same amount wherever a lower level sets it, so that
/// differences between regions stay. Choices, which have no amounts, stay as they are below.
enum class Propagation { none, deltaDownwards };

/// Sets or clears the row in `set`, which belongs to `item`. What applied at the item before, and after a row is
/// cleared, is the value of the level above.
void editLevel(Item& item, ParameterSet& set, ParameterId row, std::optional<double> value, Propagation propagation);

}  // namespace tervo
