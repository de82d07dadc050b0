#pragma once
// The folder that relative paths start from. It belongs to the whole process: only the document thread changes it.

#include "base/text.h"

namespace tervo::platform {

/// Empty when the folder has been removed.
Text currentFolder();
/// False when there is no such folder; nothing has changed then.
bool setCurrentFolder(TextView path);

}  // namespace tervo::platform
