#pragma once
// All user preferences in one record that the rest of the program reads directly. Loaded once at start-up, written back
// once at exit. The table in settings.cpp says each field's key, storage type, size and default; the field order and
// meaning follow it.

#include <array>
#include <cstdint>
#include <vector>

#include "base/text.h"

namespace tervo {

/// Fields are grouped and named after their keys: `load.bAutoSplitStereo` is load.autoSplitStereo.
struct Settings {
  // Completed with the table.
};

}  // namespace tervo
