#pragma once
// Inside platform/: the text form of stored settings, one value a line:
//
//     aio.szAudioOutDev = text "Windows default"
//     app.iPaneSplitL = number 221
//     app.awColWidths = binary A0 00 3E 00 32 00 28 00 28 00
//
// Texts are UTF-8 with \" \\ \n \r \t and \uXXXX (one UTF-16 unit) for what could not stand there otherwise. A line
// that is none of these (a comment, a damaged one) means nothing and is kept.

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/settings_backend.h"

namespace tervo::platform {

std::string lineOf(const StoredSetting& setting);
std::optional<StoredSetting> settingIn(std::string_view line);

std::vector<StoredSetting> settingsIn(std::string_view file);
/// The file with these values in their lines, or in lines of their own at the end; all other lines as they were.
std::string mergedInto(std::string_view file, std::span<const StoredSetting> values);

}  // namespace tervo::platform
