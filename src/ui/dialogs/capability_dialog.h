#pragma once
// The user's own selection of what a target can hold.

#include "core/capabilities.h"

class QWidget;

namespace tervo::ui {

/// False when the user thinks better of it; the set then stays as it was.
bool editCapabilities(CapabilitySet& set, QWidget* parent);

}  // namespace tervo::ui
