#pragma once
// Text is UTF-16 everywhere inside the program. The functions here convert it at the edges: UTF-8 for terminals and
// modern files, Windows-1252 for the 8-bit names of older ones.

#include <string>
#include <string_view>

namespace tervo {

using Text = std::u16string;
using TextView = std::u16string_view;

/// Decodes UTF-8. Bytes that are not valid UTF-8 become U+FFFD, one for each maximal bad run (Unicode 15, section 3.9).
Text fromUtf8(std::string_view bytes);

/// Encodes as UTF-8. A lone surrogate becomes U+FFFD.
std::string toUtf8(TextView text);

/// True when `bytes` is well-formed UTF-8 (no overlong forms, no surrogates, nothing above U+10FFFF).
bool isUtf8(std::string_view bytes);

/// Decodes an 8-bit name from a file: UTF-8 when it is well-formed, else Windows-1252. Stops at the first zero byte.
Text fromFileText(std::string_view bytes);

/// Decodes a path as the operating system gave it, and back, without loss: on POSIX a byte that is not valid UTF-8 is
/// held as the lone surrogate U+DC00 + byte.
Text fromPathBytes(std::string_view bytes);
std::string toPathBytes(TextView path);

/// The two halves of a character above U+FFFF.
constexpr bool isHighSurrogate(char16_t c) {
  return c >= 0xD800 && c <= 0xDBFF;
}
constexpr bool isLowSurrogate(char16_t c) {
  return c >= 0xDC00 && c <= 0xDFFF;
}

/// ASCII letters folded to upper case; other characters by the simple mapping of the Latin-1 range.
char16_t upper(char16_t c);
bool equalNoCase(TextView a, TextView b);

}  // namespace tervo
