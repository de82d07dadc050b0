#include "base/text.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace tervo {
namespace {

constexpr char16_t replacement = 0xFFFD;

/// One decoded character: its code point and length in bytes; a bad run has `valid` false and is `length` bytes long.
struct Decoded {
  char32_t codePoint = 0;
  std::size_t length = 1;
  bool valid = false;
};

uint8_t byteAt(std::string_view bytes, std::size_t i) {
  return static_cast<uint8_t>(bytes[i]);
}

Decoded decodeOne(std::string_view bytes, std::size_t at) {
  const uint8_t first = byteAt(bytes, at);
  if (first < 0x80) return {first, 1, true};
  // The second byte's range depends on the first (Unicode 15, table 3-7); later bytes are always 80..BF.
  uint8_t low = 0x80, high = 0xBF;
  std::size_t count = 0;
  char32_t code = 0;
  if (first >= 0xC2 && first <= 0xDF) {
    count = 1, code = first & 0x1Fu;
  } else if (first >= 0xE0 && first <= 0xEF) {
    count = 2, code = first & 0x0Fu;
    if (first == 0xE0) low = 0xA0;
    if (first == 0xED) high = 0x9F;
  } else if (first >= 0xF0 && first <= 0xF4) {
    count = 3, code = first & 0x07u;
    if (first == 0xF0) low = 0x90;
    if (first == 0xF4) high = 0x8F;
  } else {
    return {};
  }
  for (std::size_t i = 1; i <= count; ++i) {
    if (at + i >= bytes.size()) return {0, i, false};
    const uint8_t next = byteAt(bytes, at + i);
    if (next < low || next > high) return {0, i, false};
    code = (code << 6) | (next & 0x3Fu);
    low = 0x80, high = 0xBF;
  }
  return {code, count + 1, true};
}

void appendUtf16(Text& text, char32_t code) {
  if (code < 0x10000) {
    text.push_back(static_cast<char16_t>(code));
    return;
  }
  code -= 0x10000;
  text.push_back(static_cast<char16_t>(0xD800 + (code >> 10)));
  text.push_back(static_cast<char16_t>(0xDC00 + (code & 0x3FF)));
}

void appendUtf8(std::string& out, char32_t code) {
  const auto put = [&](char32_t value) { out.push_back(static_cast<char>(static_cast<uint8_t>(value))); };
  if (code < 0x80) return put(code);
  if (code < 0x800) return put(0xC0 | (code >> 6)), put(0x80 | (code & 0x3F));
  if (code < 0x10000) return put(0xE0 | (code >> 12)), put(0x80 | ((code >> 6) & 0x3F)), put(0x80 | (code & 0x3F));
  put(0xF0 | (code >> 18)), put(0x80 | ((code >> 12) & 0x3F)), put(0x80 | ((code >> 6) & 0x3F)),
      put(0x80 | (code & 0x3F));
}

enum class LoneSurrogate { replace, asByte };

std::string encode(TextView text, LoneSurrogate lone) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char16_t c = text[i];
    if (isHighSurrogate(c) && i + 1 < text.size() && isLowSurrogate(text[i + 1])) {
      appendUtf8(out, 0x10000u + ((c - 0xD800u) << 10) + (text[++i] - 0xDC00u));
    } else if (lone == LoneSurrogate::asByte && c >= 0xDC80 && c <= 0xDCFF) {
      out.push_back(static_cast<char>(static_cast<uint8_t>(c - 0xDC00)));
    } else {
      appendUtf8(out, isHighSurrogate(c) || isLowSurrogate(c) ? replacement : c);
    }
  }
  return out;
}

// Windows-1252, 0x80..0x9F; the five bytes it leaves undefined map to the C1 controls of the same number.
constexpr std::array<char16_t, 32> windows1252 = {0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                                  0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
                                                  0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                                  0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

}  // namespace

Text fromUtf8(std::string_view bytes) {
  Text text;
  text.reserve(bytes.size());
  for (std::size_t at = 0; at < bytes.size();) {
    const Decoded next = decodeOne(bytes, at);
    appendUtf16(text, next.valid ? next.codePoint : replacement);
    at += next.length;
  }
  return text;
}

std::string toUtf8(TextView text) {
  return encode(text, LoneSurrogate::replace);
}

bool isUtf8(std::string_view bytes) {
  for (std::size_t at = 0; at < bytes.size();) {
    const Decoded next = decodeOne(bytes, at);
    if (!next.valid) return false;
    at += next.length;
  }
  return true;
}

Text fromFileText(std::string_view bytes) {
  bytes = bytes.substr(0, bytes.find('\0'));
  if (isUtf8(bytes)) return fromUtf8(bytes);
  Text text;
  text.reserve(bytes.size());
  for (const char c : bytes) {
    const auto byte = static_cast<uint8_t>(c);
    text.push_back(byte >= 0x80 && byte < 0xA0 ? windows1252[byte - 0x80u] : char16_t{byte});
  }
  return text;
}

Text fromPathBytes(std::string_view bytes) {
  Text text;
  text.reserve(bytes.size());
  for (std::size_t at = 0; at < bytes.size();) {
    const Decoded next = decodeOne(bytes, at);
    if (next.valid) {
      appendUtf16(text, next.codePoint);
    } else {
      for (std::size_t i = 0; i < next.length; ++i)
        text.push_back(static_cast<char16_t>(0xDC00 + byteAt(bytes, at + i)));
    }
    at += next.length;
  }
  return text;
}

std::string toPathBytes(TextView path) {
  return encode(path, LoneSurrogate::asByte);
}

char16_t upper(char16_t c) {
  if (c >= u'a' && c <= u'z') return static_cast<char16_t>(c - 0x20);
  if (c >= 0xE0 && c <= 0xFE && c != 0xF7) return static_cast<char16_t>(c - 0x20);
  return c;
}

bool equalNoCase(TextView a, TextView b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (upper(a[i]) != upper(b[i])) return false;
  }
  return true;
}

}  // namespace tervo
