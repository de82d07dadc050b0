#pragma once
// Named constants for the rows of the ParameterTable; codecs use these names, never row numbers.

#include <cstdint>

namespace tervo {

/// A row's index in the ParameterTable, 0..233.
enum class ParameterId : uint16_t {
  // Completed with the table: one name a row, e.g. masterTuning = 0, filterCutoff = 24, triggerLowKey = 190.
};
inline constexpr int parameterCount = 234;

}  // namespace tervo
