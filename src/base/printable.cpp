#include "base/printable.h"

#include <fmt/format.h>

namespace tervo {
namespace {

bool isControl(char16_t c) {
  return c < 0x20 || (c >= 0x7F && c < 0xA0);
}

}  // namespace

std::string printable(TextView text) {
  Text plain;
  for (const char16_t c : text) {
    if (isControl(c))
      plain += c == u'\n' ? u"\\n" : c == u'\t' ? u"\\t" : fromUtf8(fmt::format("\\x{:02X}", unsigned{c}));
    else
      plain += c;
  }
  return toPathBytes(plain);
}

}  // namespace tervo
