#include "core/tags.h"

#include <algorithm>
#include <string_view>

namespace tervo {

TextView nameOf(Tag tag) {
  static constexpr std::array<TextView, tagCount> names = {u"Name",     u"Artist",  u"Comments",           u"Copyright",
                                                           u"Engineer", u"Product", u"Source file on disk"};
  return names[static_cast<std::size_t>(tag)];
}

std::string mimeTypeOf(std::span<const std::byte> picture) {
  struct Magic {
    std::string_view bytes;
    const char* mimeType;
  };
  static constexpr Magic magics[] = {
      {"\xFF\xD8\xFF", "image/jpeg"},  // ISO/IEC 10918-1: SOI, then the next marker's 0xFF
      {"\x89PNG\r\n\x1A\n", "image/png"},
      {"GIF87a", "image/gif"},
      {"GIF89a", "image/gif"},
  };
  const auto sameByte = [](char a, std::byte b) { return static_cast<std::byte>(a) == b; };
  for (const Magic& magic : magics) {
    if (picture.size() < magic.bytes.size()) continue;
    if (std::equal(magic.bytes.begin(), magic.bytes.end(), picture.begin(), sameByte)) return magic.mimeType;
  }
  return {};
}

}  // namespace tervo
