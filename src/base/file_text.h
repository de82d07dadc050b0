#pragma once
// Names for files whose 8-bit texts have no declared encoding: the reverse of fromFileText().

#include "base/text.h"

namespace tervo {

/// Windows-1252 where that holds every character and fromFileText() gives the text back, else UTF-8.
std::string toFileText(TextView text);
/// The longest beginning of such a name that has at most `limit` bytes and does not end within a character.
std::string_view cutFileText(std::string_view name, std::size_t limit);

}  // namespace tervo
