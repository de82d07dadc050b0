#pragma once
// Folders that belong to the user, and where the system keeps what every user needs.

#include "base/text.h"

namespace tervo::platform {

/// Where settings live: $XDG_CONFIG_HOME or ~/.config on Linux, the roaming application folder on Windows.
Text configFolder();
/// Where the program keeps its own data (saved states): $XDG_DATA_HOME or ~/.local/share on Linux, the roaming
/// application folder on Windows.
Text dataFolder();
/// The system folder ("C:\Windows\System32") on Windows; empty elsewhere.
Text systemFolder();
/// For files that may become large: on Linux $TMPDIR, else /var/tmp, because many systems have /tmp in memory
/// (Filesystem Hierarchy Standard 3.0, section 5.15).
Text temporaryFolder();
/// The General MIDI sound bank that the system comes with, whether or not it is installed: the system folder's
/// "\drivers\gm.dls" on Windows; on Linux the name under which distributions install their preferred bank.
Text generalMidiBank();

}  // namespace tervo::platform
