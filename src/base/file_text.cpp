#include "base/file_text.h"

#include <optional>

namespace tervo {
namespace {

std::optional<char> windows1252Of(char16_t c) {
  if (c < 0x80 || (c >= 0xA0 && c <= 0xFF)) return static_cast<char>(c);
  for (int byte = 0x80; byte < 0xA0; ++byte) {
    const char candidate = static_cast<char>(byte);
    if (fromFileText({&candidate, 1})[0] == c) return candidate;
  }
  return std::nullopt;
}

bool isWithinCharacter(char byte) {
  return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

}  // namespace

std::string toFileText(TextView text) {
  std::string bytes;
  for (const char16_t c : text) {
    const auto byte = windows1252Of(c);
    if (!byte) return toUtf8(text);
    bytes.push_back(*byte);
  }
  return fromFileText(bytes) == text ? bytes : toUtf8(text);
}

std::string_view cutFileText(std::string_view name, std::size_t limit) {
  if (name.size() <= limit || !isUtf8(name)) return name.substr(0, limit);
  while (limit > 0 && isWithinCharacter(name[limit])) --limit;
  return name.substr(0, limit);
}

}  // namespace tervo
